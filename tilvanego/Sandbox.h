#pragma once

/// All of TilvaneGo::Sandbox: the payment application to rehearse with.
#include <tilvanego/Version.h>
#include <tilvanego/sandbox/Rehearsal.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/sandbox/SandboxApplication.h>
#include <tilvanego/sandbox/TestHost.h>
