#pragma once

#include <memory>

#include <tilvanego/platform/Timer.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Calls back on a thread of its own, which begins with the first `after` and serves them all. It works
/// beside any event loop. Time is that of `std::chrono::steady_clock`.
class SystemTimer final : public Timer {
 public:
  SystemTimer();
  SystemTimer(const SystemTimer&) = delete;
  SystemTimer& operator=(const SystemTimer&) = delete;
  /// Waits for a block that is running. Must not be called by a block.
  ~SystemTimer() override;

  /// Throws `std::system_error` if there can be no thread.
  void after(std::chrono::milliseconds delay, std::function<void()> block) override;

 private:
  class Thread;
  std::unique_ptr<Thread> thread_;
};

}  // namespace tilvanego
