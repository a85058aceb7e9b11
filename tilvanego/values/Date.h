#pragma once

#include <compare>
#include <cstddef>
#include <iosfwd>
#include <string_view>

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
  /// Writes the date in UTC with milliseconds. If that isn't the whole date, the seconds follow in
  /// parentheses.
  friend std::ostream& operator<<(std::ostream& out, const Date& date) { return date.show(out); }

 private:
  std::ostream& show(std::ostream& out) const;
  constexpr explicit Date(double seconds) : seconds_(seconds) {}

  double seconds_ = 0;
};

}  // namespace tilvanego

template <>
struct std::hash<tilvanego::Date> {
  [[nodiscard]] std::size_t operator()(const tilvanego::Date& date) const {
    return std::hash<double>()(date.secondsSince1970());
  }
};
