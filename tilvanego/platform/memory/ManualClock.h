#pragma once

#include <mutex>
#include <optional>

#include <tilvanego/platform/Clock.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A clock that follows the system's until it is stopped at an instant.
class ManualClock final : public Clock {
 public:
  ManualClock() = default;
  /// A clock that stands still from the start.
  explicit ManualClock(const Date& instant) : stoppedAt_(instant) {}

  [[nodiscard]] Date now() const override;

  /// The clock stands still at `instant`. May be called from any thread, and so may `followSystem()`.
  void stopAt(const Date& instant);
  void followSystem();

 private:
  mutable std::mutex mutex_;
  std::optional<Date> stoppedAt_;
};

}  // namespace tilvanego
