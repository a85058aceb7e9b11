#pragma once

/// All records of the POI interface. A header for each family costs less to compile.
#include <tilvanego/models/Amounts.h>
#include <tilvanego/models/Enumerations.h>
#include <tilvanego/models/Errors.h>
#include <tilvanego/models/Parties.h>
#include <tilvanego/models/TerminalCommands.h>
#include <tilvanego/models/Trace.h>
#include <tilvanego/models/TransactionRequests.h>
#include <tilvanego/models/TransactionResponses.h>
