#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/platform/Pasteboard.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/platform/memory/MemoryApplication.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>

#include "EventWriter.h"

namespace tilvanego::program {

struct HostOptions {
  /// The command that opens links, with its first arguments. Without a value, links are only reported.
  std::optional<std::vector<std::string>> openCommand;
  /// Whether the pasteboard is the user's store. Otherwise it is in memory.
  bool pasteboardStore = false;
  /// Where pending operations are kept for the next run. Empty: they aren't kept.
  std::string stateDirectory = {};
};

/// The library as a script uses it: writes everything that the library causes as an event. There is only one,
/// since it uses the shared instance of the library; it lives as long as the process.
class HostSession {
 public:
  /// Sets the platform of the library. `events` and `loop` must outlive this object.
  HostSession(const HostOptions& options, EventWriter& events, RunLoop& loop);
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  [[nodiscard]] TilvaneGo& sdk() { return TilvaneGo::shared(); }
  [[nodiscard]] EventWriter& events() { return events_; }
  [[nodiscard]] ManualClock& clock() { return *clock_; }

  /// Reports the oldest pending open request as opened or not. Writes an error event if there is none.
  void reportOldestOpen(bool opened);
  /// Puts items on the pasteboard as another application would. Writes an error event if this pasteboard
  /// doesn't allow that.
  void placeOnPasteboard(const std::vector<PasteboardItem>& items, const std::optional<std::string>& string);
  [[nodiscard]] PasteboardContents pasteboardContents() const;

 private:
  [[nodiscard]] std::unique_ptr<Application> makeApplication(const HostOptions& options, RunLoop& loop);
  [[nodiscard]] std::unique_ptr<Pasteboard> makePasteboard(const HostOptions& options);

  EventWriter& events_;
  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  // Owned by the platform. One pasteboard is null, and the application is null if a command opens links.
  MemoryApplication* memoryApplication_ = nullptr;
  MemoryPasteboard* memoryPasteboard_ = nullptr;
  PasteboardStore* pasteboardStore_ = nullptr;
};

}  // namespace tilvanego::program
