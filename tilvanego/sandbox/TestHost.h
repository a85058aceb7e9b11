#pragma once

#include <memory>
#include <optional>

#include <tilvanego/facade/FreshInstance.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/platform/memory/RecordingDebugOutput.h>
#include <tilvanego/sandbox/SandboxApplication.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

/// What one test of a host needs, all in memory: a fresh instance of the library, which `TilvaneGo::shared()`
/// returns while this object lives, and a payment application that opens its links. Nothing is shared with
/// the test before or after it, and nothing of the system is used but random bytes. The thread that makes it
/// is the main thread; use it there only.
///
/// The destructor ends the instance and destroys what its pending completions, the blocks of the loop and the
/// observer have captured, while `shared()` is still this instance: their destructors may call it, and start
/// nothing any more. A completion may destroy its own `TestHost`; `runPending()` then returns after it.
class TestHost final {
 public:
  TestHost();
  ~TestHost();
  TestHost(const TestHost&) = delete;
  TestHost& operator=(const TestHost&) = delete;

  [[nodiscard]] TilvaneGo& sdk() { return *instance_; }
  [[nodiscard]] SandboxApplication& paymentApplication() { return *application_; }
  /// The main queue. Everything happens in `runPending()`, and nothing waits.
  [[nodiscard]] RunLoop& loop() { return *loop_; }
  /// The one clock of library and payment application. It stands still, at 2026-01-01T12:00:00Z until the
  /// test sets it.
  [[nodiscard]] ManualClock& clock() { return *clock_; }
  [[nodiscard]] MemoryPasteboard& pasteboard() { return *pasteboard_; }
  /// The debug lines so far.
  [[nodiscard]] RecordingDebugOutput& debugOutput() { return *debugOutput_; }

 private:
  [[nodiscard]] Platform platform();

  std::optional<RunLoop> loop_;
  std::shared_ptr<ManualClock> clock_;
  // Owned by the instance's platform.
  RecordingDebugOutput* debugOutput_ = nullptr;
  MemoryPasteboard* pasteboard_ = nullptr;
  SandboxApplication* application_ = nullptr;
  FreshInstance instance_;
};

}  // namespace sandbox
}  // namespace tilvanego
