#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>

#include <tilvanego/platform/SystemTimer.h>

namespace tilvanego::detail {

/// The timer of all retries of the process that have no other. Any thread may use it. Its blocks run on its
/// own thread, until the process exits.
class PauseTimer final : public Timer {
 public:
  [[nodiscard]] static const std::shared_ptr<Timer>& ofProcess();

  void after(std::chrono::milliseconds delay, std::function<void()> block) override;

 private:
  /// Guards the timer's start of its thread.
  std::mutex mutex_;
  SystemTimer timer_;
};

}  // namespace tilvanego::detail
