#pragma once

/// All of TilvaneGo::SDK but JSON and validation, which Models.h and HTTPClient.h bring: the class
/// `TilvaneGo` (facade/TilvaneGoSDK.h), the records of all operations, the ports of the platform with their
/// adapters, and the values that these speak in.
#include <tilvanego/Features.h>
#include <tilvanego/Version.h>
#include <tilvanego/async/Task.h>
#include <tilvanego/facade/OperationFunctions.h>
#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/frame/SecretNames.h>
#include <tilvanego/platform/MainQueueAdapter.h>
#include <tilvanego/platform/OpenRequests.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/StandardOutput.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/SystemTimer.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/platform/memory/ManualTimer.h>
#include <tilvanego/platform/memory/MemoryApplication.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/platform/memory/MemoryPendingStore.h>
#include <tilvanego/platform/memory/RecordingDebugOutput.h>
#include <tilvanego/platform/memory/ScriptedRandomSource.h>
#include <tilvanego/platform/memory/SilentDebugOutput.h>
#include <tilvanego/values/Amount.h>
#include <tilvanego/values/Base64.h>
#include <tilvanego/values/DateFormats.h>
#include <tilvanego/values/DebugLiteral.h>
#include <tilvanego/values/DecimalFormatter.h>
#include <tilvanego/values/Literals.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/URLComponents.h>

// An install tree that was built without the adapters for a Linux desktop has none of their headers.
#if defined(__linux__) && __has_include(<tilvanego/platform/desktop/CommandLine.h>)
#include <tilvanego/platform/desktop/CallbackReceiver.h>
#include <tilvanego/platform/desktop/CommandLine.h>
#include <tilvanego/platform/desktop/FilePendingStore.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/desktop/SchemeHandler.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>
#endif
