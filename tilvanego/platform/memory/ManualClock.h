#pragma once

#include <mutex>
#include <optional>

#include <tilvanego/platform/Clock.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A clock that returns the system's time until it is stopped at an instant. Any thread may use it.
class ManualClock final : public Clock {
 public:
  ManualClock() = default;
  /// Makes a stopped clock.
  explicit ManualClock(const Date& instant) : stoppedAt_(instant) {}

  [[nodiscard]] Date now() const override;

  /// From now on `now()` returns `instant`.
  void stopAt(const Date& instant);
  void followSystem();

 private:
  mutable std::mutex mutex_;
  std::optional<Date> stoppedAt_;
};

}  // namespace tilvanego
