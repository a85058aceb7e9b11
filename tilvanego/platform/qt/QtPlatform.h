#pragma once

#include <memory>

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/qt/QtMainQueue.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Returns a platform for a host on Qt 6: Qt's event loop is the main queue and the timer,
/// `QDesktopServices` opens links, the desktop's clipboard is the pasteboard, random bytes come from OpenSSL,
/// debug lines go to standard output. Call it after the `QGuiApplication` is made, on its thread, and pass
/// the result to `TilvaneGo::usePlatform`.
///
/// The platform doesn't own `mainQueue`, which may end before it. The clipboard uses `clock` too, which must
/// not be null.
[[nodiscard]] Platform qtPlatform(QtMainQueue& mainQueue,
                                  std::shared_ptr<const Clock> clock = std::make_shared<const SystemClock>());

}  // namespace tilvanego
