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
  /// What opens links, with its leading arguments; nothing: links are only reported.
  std::optional<std::vector<std::string>> openCommand;
  /// The per-user store instead of a pasteboard in memory.
  bool pasteboardStore = false;
};

/// The library in use by a scripted host: everything that it causes is written as an event. One in a process,
/// since the library is; it lives as long as the process.
class HostSession {
 public:
  /// Gives the library its platform. `events` and `loop` outlive this.
  HostSession(const HostOptions& options, EventWriter& events, RunLoop& loop);
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  [[nodiscard]] TilvaneGo& sdk() { return TilvaneGo::shared(); }
  [[nodiscard]] EventWriter& events() { return events_; }
  [[nodiscard]] ManualClock& clock() { return *clock_; }

  /// Reports the open request that has waited longest; an error event if none can be.
  void reportOldestOpen(bool opened);
  /// Puts items on the pasteboard as another application would; an error event where that isn't ours to do.
  void placeOnPasteboard(const std::vector<PasteboardItem>& items, const std::optional<std::string>& string);
  [[nodiscard]] PasteboardContents pasteboardContents() const;

 private:
  [[nodiscard]] std::unique_ptr<Application> makeApplication(const HostOptions& options, RunLoop& loop);
  [[nodiscard]] std::unique_ptr<Pasteboard> makePasteboard(const HostOptions& options);

  EventWriter& events_;
  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  // Owned by the platform. Of each pair one is null.
  MemoryApplication* memoryApplication_ = nullptr;
  MemoryPasteboard* memoryPasteboard_ = nullptr;
  PasteboardStore* pasteboardStore_ = nullptr;
};

}  // namespace tilvanego::program
