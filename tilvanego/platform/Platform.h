#pragma once

#include <memory>
#include <utility>

#include <tilvanego/Features.h>
#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/DebugOutput.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/platform/Pasteboard.h>
#include <tilvanego/platform/PendingStore.h>
#include <tilvanego/platform/RandomSource.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/Timer.h>
#include <tilvanego/values/Support.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Everything that the library needs from the system. The pasteboard may be null: payments by pasteboard then
/// fail at once with `pasteboardHandoffUnavailable`. The pending store may be null: no operation then
/// survives its host. The timer may be null: the library makes one. If another member is null, the process
/// ends, with a message that names it, when the host passes the platform to the library.
///
/// The ports may call the library and may throw; docs/platform.md describes what happens then.
///
/// A host may replace any member before it passes the platform to the library. A host with its own event loop
/// must pass its main queue to `standard()`, since the adapters use it too.
struct Platform {
  /// Not owned. It may be destroyed before the platform and the library: their later blocks are dropped.
  MainQueue* mainQueue;
  /// Shared with the pasteboard, whose items expire by it. A host with its own clock must pass it to
  /// `standard()`: if it replaces this member, the pasteboard still uses the former clock.
  std::shared_ptr<const Clock> clock;
  std::unique_ptr<RandomSource> randomSource;
  std::unique_ptr<DebugOutput> debugOutput;
  std::unique_ptr<Pasteboard> pasteboard;
  std::unique_ptr<Application> application;
  /// Keeps pending operations for the next start of the process: docs/surviving-a-restart.md.
  std::unique_ptr<PendingStore> pendingStore = nullptr;
  /// For the time-outs of awaited operations. Null: the library makes a `SystemTimer`.
  std::unique_ptr<Timer> timer = nullptr;

  /// Returns a platform for a Linux desktop or till, without configuration: `xdg-open` opens links, the
  /// pasteboard is the user's `PasteboardStore`, random bytes come from OpenSSL, debug lines go to standard
  /// output. The pasteboard uses `clock` too, which must not be null. Exists only in a library that was built
  /// with the desktop's adapters (`TILVANEGO_DESKTOP`).
  template <bool exists = hasDesktopAdapters>
    requires exists
  [[nodiscard]] static Platform standard(
      MainQueue& mainQueue = RunLoop::main(),
      std::shared_ptr<const Clock> clock = std::make_shared<const SystemClock>());
};

namespace [[gnu::visibility("default")]] support {
[[nodiscard]] Platform standardPlatform(MainQueue& mainQueue, std::shared_ptr<const Clock> clock);
}  // namespace support

template <bool exists>
  requires exists
Platform Platform::standard(MainQueue& mainQueue, std::shared_ptr<const Clock> clock) {
  return support::standardPlatform(mainQueue, std::move(clock));
}

}  // namespace tilvanego
