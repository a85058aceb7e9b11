#include <tilvanego/sandbox/TestHost.h>

#include <utility>

#include <tilvanego/platform/OpenSSLRandomSource.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {
namespace {

// 2026-01-01T12:00:00Z: the same in each run, so that its debug lines are, too.
constexpr Date start = Date::fromSecondsSince1970(1'767'268'800);

}  // namespace

TestHost::TestHost()
    : loop_(std::in_place), clock_(std::make_shared<ManualClock>(start)), instance_(platform()) {}

TestHost::~TestHost() {
  instance_.end();
  application_->setObserver(nullptr);
  loop_.reset();
}

Platform TestHost::platform() {
  auto debugOutput = std::make_unique<RecordingDebugOutput>();
  auto pasteboard = std::make_unique<MemoryPasteboard>(clock_);
  auto application = std::make_unique<SandboxApplication>(
      *loop_, [this](const URL& callback) { instance_.handleCallback(callback); },
      HandoffPorts{.pasteboard = pasteboard.get(), .clock = clock_.get()});
  debugOutput_ = debugOutput.get();
  pasteboard_ = pasteboard.get();
  application_ = application.get();
  return {.mainQueue = &*loop_,
          .clock = clock_,
          .randomSource = std::make_unique<OpenSSLRandomSource>(),
          .debugOutput = std::move(debugOutput),
          .pasteboard = std::move(pasteboard),
          .application = std::move(application)};
}

}  // namespace sandbox
}  // namespace tilvanego
