#include "HostSession.h"

#include <chrono>
#include <functional>
#include <string_view>
#include <utility>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/DebugOutput.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/desktop/FilePendingStore.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>

namespace tilvanego::program {
namespace {

class DebugEvents final : public DebugOutput {
 public:
  explicit DebugEvents(EventWriter& events) : events_(events) {}
  void writeLine(std::string_view text) override { events_.write(JSONObject().add("debug", text)); }

 private:
  EventWriter& events_;
};

/// Shows each link before it is opened.
class ShownApplication final : public Application {
 public:
  ShownApplication(EventWriter& events, std::unique_ptr<Application> opener)
      : events_(events), opener_(std::move(opener)) {}

  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override {
    events_.write(JSONObject().add("open", url));
    opener_->openURL(url, std::move(completionHandler));
  }

 private:
  EventWriter& events_;
  std::unique_ptr<Application> opener_;
};

}  // namespace

HostSession::HostSession(const HostOptions& options, EventWriter& events, RunLoop& loop) : events_(events) {
  TilvaneGo::usePlatform({
      .mainQueue = &loop,
      .clock = clock_,
      .randomSource = std::make_unique<OpenSSLRandomSource>(),
      .debugOutput = std::make_unique<DebugEvents>(events),
      .pasteboard = makePasteboard(options),
      .application = std::make_unique<ShownApplication>(events, makeApplication(options, loop)),
      .pendingStore = options.stateDirectory.empty()
                          ? nullptr
                          : std::make_unique<FilePendingStore>(options.stateDirectory),
  });
  sdk().setLogger([&events](TilvaneLogLevel level, std::string_view message) {
    events.write(JSONObject().add("log", level).add("message", message));
  });
}

std::unique_ptr<Application> HostSession::makeApplication(const HostOptions& options, RunLoop& loop) {
  // A script says what the exit status is, and means it.
  if (options.openCommand) {
    return std::make_unique<SpawnedOpener>(loop, *options.openCommand, std::chrono::milliseconds::max());
  }
  auto application = std::make_unique<MemoryApplication>(loop);
  memoryApplication_ = application.get();
  return application;
}

std::unique_ptr<Pasteboard> HostSession::makePasteboard(const HostOptions& options) {
  if (options.pasteboardStore) {
    auto store = std::make_unique<PasteboardStore>(clock_);
    pasteboardStore_ = store.get();
    return store;
  }
  auto pasteboard = std::make_unique<MemoryPasteboard>(clock_);
  memoryPasteboard_ = pasteboard.get();
  return pasteboard;
}

void HostSession::reportOldestOpen(bool opened) {
  if (memoryApplication_ == nullptr) {
    events_.error(R"("opened" works under --open none only: here the command's exit status tells.)");
  } else if (!memoryApplication_->reportOldest(opened)) {
    events_.error("No open request waits for an answer.");
  }
}

void HostSession::placeOnPasteboard(const std::vector<PasteboardItem>& items,
                                    const std::optional<std::string>& string) {
  if (memoryPasteboard_ != nullptr) {
    memoryPasteboard_->place(items, string);
  } else {
    events_.error(R"("setPasteboard" works under --pasteboard memory only: here other processes write.)");
  }
}

PasteboardContents HostSession::pasteboardContents() const {
  return memoryPasteboard_ != nullptr ? memoryPasteboard_->contents() : pasteboardStore_->contents();
}

}  // namespace tilvanego::program
