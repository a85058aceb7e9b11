#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <tilvanego/facade/FacadeAccess.h>
#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/platform/memory/ManualTimer.h>
#include <tilvanego/platform/memory/MemoryApplication.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/values/RawText.h>

namespace tilvanego::test {

/// A host in memory: an instance of the library of its own, and one list of all that it caused, in order.
///
/// Entries read "debug TEXT", "log LEVEL TEXT", "open URL"; tests add their completions by `note`.
class TestHost {
 public:
  /// Random bytes are the system's, unless a source for them is given.
  explicit TestHost(std::unique_ptr<RandomSource> randomSource = nullptr) {
    Platform platform = Platform::standard(loop);
    if (randomSource) platform.randomSource = std::move(randomSource);
    auto memoryApplication = std::make_unique<MemoryApplication>(loop);
    application = memoryApplication.get();
    application->setOnOpen([this](const URL& url) { note("open " + url.absoluteString()); });
    platform.application = std::move(memoryApplication);
    platform.clock = clock;
    auto memoryPasteboard = std::make_unique<MemoryPasteboard>(clock);
    pasteboard = memoryPasteboard.get();
    platform.pasteboard = std::move(memoryPasteboard);
    auto manualTimer = std::make_unique<ManualTimer>();
    timer = manualTimer.get();
    platform.timer = std::move(manualTimer);
    platform.debugOutput = std::make_unique<NotedDebugOutput>(*this);
    sdk = detail::FacadeAccess::make(std::move(platform));
    sdk->setLogger([this](TilvaneLogLevel level, std::string_view message) {
      note("log " + std::string(rawText(level)) + " " + std::string(message));
    });
  }

  void note(std::string event) { events.push_back(std::move(event)); }

  /// The events since the last call.
  std::vector<std::string> takeEvents() { return std::exchange(events, {}); }

  RunLoop loop;
  MemoryApplication* application = nullptr;
  MemoryPasteboard* pasteboard = nullptr;
  ManualTimer* timer = nullptr;
  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  std::vector<std::string> events;
  detail::FacadeAccess::Owned sdk;

 private:
  class NotedDebugOutput : public DebugOutput {
   public:
    explicit NotedDebugOutput(TestHost& host) : host_(host) {}
    void writeLine(std::string_view text) override { host_.note("debug " + std::string(text)); }

   private:
    TestHost& host_;
  };
};

}  // namespace tilvanego::test
