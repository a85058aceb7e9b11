#pragma once

#include <memory>

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/SystemClock.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The queue of an iOS app's main thread: Grand Central Dispatch's main queue, which the app's run loop
/// drains. It is never destroyed.
[[nodiscard]] MainQueue& appleMainQueue();

/// Returns a platform for an iOS app: `UIApplication` opens links, the pasteboard is the general
/// `UIPasteboard`, random bytes come from OpenSSL, debug lines go to standard output. Call it on the main
/// thread and pass the result to `TilvaneGo::usePlatform`.
///
/// The app's Info.plist must name the scheme "tilvanego" in LSApplicationQueriesSchemes only if the app asks
/// `canOpenURL` itself; the library opens links without that question. A system from iOS 14 on shows a notice
/// when the pasteboard is read, and one from iOS 16 on asks the user.
///
/// Items of the pasteboard expire by the system's time, not by `clock`, which must not be null. Links and
/// texts are passed to the system as its own strings, which the library can't wipe.
[[nodiscard]] Platform applePlatform(
    std::shared_ptr<const Clock> clock = std::make_shared<const SystemClock>());

}  // namespace tilvanego
