#pragma once

#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <ratio>
#include <type_traits>

#include <tilvanego/values/Date.h>

/// `Date` from and to the standard library's clocks. A header of its own, since <chrono> takes long to
/// compile.
namespace [[gnu::visibility("default")]] tilvanego {

/// The moment of a system clock's time, to about 0.3 µs in this century: a `Date` is a 64-bit float.
template <typename Duration>
[[nodiscard]] constexpr Date dateFrom(std::chrono::sys_time<Duration> time) {
  using Seconds = std::chrono::duration<double>;
  return Date::fromSecondsSince1970(std::chrono::duration_cast<Seconds>(time.time_since_epoch()).count());
}

/// The moment as a system clock's time, rounded to the nearest `Duration`, such as
/// `std::chrono::milliseconds`. No value if `Duration` can't count so far, or for NaN.
template <typename Duration = std::chrono::microseconds>
  requires std::is_signed_v<typename Duration::rep>
[[nodiscard]] std::optional<std::chrono::sys_time<Duration>> systemTime(const Date& date) {
  using Rep = typename Duration::rep;
  using PerSecond = std::ratio_divide<std::ratio<1>, typename Duration::period>;
  const double exact =
      date.secondsSince1970() * static_cast<double>(PerSecond::num) / static_cast<double>(PerSecond::den);
  const double count = std::is_integral_v<Rep> ? std::round(exact) : exact;
  // The largest value itself may not be a double, but minus the smallest, one more, is a power of two.
  const auto beyond = -static_cast<double>(std::numeric_limits<Rep>::lowest());
  if (!(count >= -beyond && count < beyond)) return std::nullopt;
  return std::chrono::sys_time<Duration>(Duration(static_cast<Rep>(count)));
}

}  // namespace tilvanego
