#pragma once

/// All of `TilvaneGo::Qt`: the adapters for a host on Qt 6.
#include <tilvanego/platform/qt/QtClipboard.h>
#include <tilvanego/platform/qt/QtLinkOpener.h>
#include <tilvanego/platform/qt/QtMainQueue.h>
#include <tilvanego/platform/qt/QtPlatform.h>
#include <tilvanego/platform/qt/QtTimer.h>
