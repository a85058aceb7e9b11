#pragma once

#include <compare>

namespace [[gnu::visibility("default")]] tilvanego {

/// A moment in time, independent of calendars and time zones.
class Date {
 public:
  /// 1970-01-01T00:00:00Z.
  constexpr Date() = default;

  /// Seconds since 1970-01-01T00:00:00Z, with a fraction, without leap seconds. Negative before that moment.
  [[nodiscard]] static constexpr Date fromSecondsSince1970(double seconds) { return Date(seconds); }
  [[nodiscard]] constexpr double secondsSince1970() const { return seconds_; }

  friend constexpr auto operator<=>(const Date&, const Date&) = default;

 private:
  constexpr explicit Date(double seconds) : seconds_(seconds) {}

  double seconds_ = 0;
};

}  // namespace tilvanego
