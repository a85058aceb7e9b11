#pragma once

#include <mutex>
#include <optional>

#include <tilvanego/platform/SystemClock.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A clock that returns the system's time until it is stopped at an instant. Any thread may use it.
class ManualClock final : public Clock {
 public:
  ManualClock() = default;
  /// Makes a stopped clock.
  explicit ManualClock(const Date& instant) : stoppedAt_(instant) {}

  [[nodiscard]] Date now() const override {
    const std::scoped_lock lock(mutex_);
    return stoppedAt_ ? *stoppedAt_ : SystemClock().now();
  }

  /// From now on `now()` returns `instant`.
  void stopAt(const Date& instant) {
    const std::scoped_lock lock(mutex_);
    stoppedAt_ = instant;
  }
  void followSystem() {
    const std::scoped_lock lock(mutex_);
    stoppedAt_.reset();
  }

 private:
  mutable std::mutex mutex_;
  std::optional<Date> stoppedAt_;
};

}  // namespace tilvanego
