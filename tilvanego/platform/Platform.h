#pragma once

#include <memory>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/DebugOutput.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/platform/Pasteboard.h>
#include <tilvanego/platform/RandomSource.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/SystemClock.h>

namespace tilvanego {

/// Everything that the library asks of the system it runs on. The pasteboard alone may be null: payments by
/// pasteboard then end at once, by `pasteboardHandoffUnavailable`. Anything else that is null ends the
/// process when the platform is given to the library, with a message that names it.
///
/// The ports may call the library and may throw; docs/platform.md says what happens then.
///
/// A host may replace any member before it gives the platform to the library. One with an event loop of its
/// own gives its main queue to `standard()`, so that the adapters report there.
struct Platform {
  /// Not owned. It may end before the platform and the library do: what they would post then is dropped.
  MainQueue* mainQueue;
  /// Shared, since an expiring pasteboard reads the same clock: a host with a clock of its own gives it to
  /// `standard()`, since replacing this member leaves the pasteboard on the earlier one.
  std::shared_ptr<const Clock> clock;
  std::unique_ptr<RandomSource> randomSource;
  std::unique_ptr<DebugOutput> debugOutput;
  std::unique_ptr<Pasteboard> pasteboard;
  std::unique_ptr<Application> application;

  /// What works on a Linux desktop or till with no configuration: links are opened by `xdg-open`, the
  /// pasteboard is the user's `PasteboardStore`, time is the system's, random bytes are OpenSSL's, debug
  /// lines go to standard output. All of it goes by `clock`, which isn't null.
  [[nodiscard]] static Platform standard(
      MainQueue& mainQueue = RunLoop::main(),
      std::shared_ptr<const Clock> clock = std::make_shared<const SystemClock>());
};

}  // namespace tilvanego
