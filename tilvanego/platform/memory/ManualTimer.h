#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <utility>

#include <tilvanego/platform/Timer.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A timer whose time passes when a test says so. For tests. Used on the main thread only.
class ManualTimer final : public Timer {
 public:
  void after(std::chrono::milliseconds delay, std::function<void()> block) override {
    waiting_.emplace(now_ + delay, std::move(block));
  }

  /// Lets time pass, and calls the blocks that are then due, in the order of their times.
  void advance(std::chrono::milliseconds duration) {
    now_ += duration;
    while (!waiting_.empty() && waiting_.begin()->first <= now_) {
      const auto first = waiting_.extract(waiting_.begin());
      first.mapped()();
    }
  }

  /// The number of blocks that were not called yet.
  [[nodiscard]] std::size_t waitingCount() const { return waiting_.size(); }

 private:
  std::chrono::milliseconds now_{0};
  std::multimap<std::chrono::milliseconds, std::function<void()>> waiting_;
};

}  // namespace tilvanego
