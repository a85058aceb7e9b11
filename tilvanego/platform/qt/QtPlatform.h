#pragma once

#include <memory>

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/qt/QtMainQueue.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Returns a platform for a host on Qt 6: Qt's event loop is the main queue, `QDesktopServices` opens links,
/// the desktop's clipboard is the pasteboard, random bytes come from OpenSSL, debug lines go to standard
/// output. Call it on the thread of the `QGuiApplication`, and pass the result to `TilvaneGo::usePlatform`.
///
/// `mainQueue` must live until the host's loop has ended; the platform does not own it.
[[nodiscard]] Platform qtPlatform(QtMainQueue& mainQueue,
                                  std::shared_ptr<const Clock> clock = std::make_shared<const SystemClock>());

}  // namespace tilvanego
