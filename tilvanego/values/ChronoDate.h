#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <ratio>
#include <type_traits>

#include <tilvanego/values/Date.h>

/// `Date` from and to the standard library's clocks. A header of its own, since <chrono> takes long to
/// compile.
namespace [[gnu::visibility("default")]] tilvanego {

namespace [[gnu::visibility("default")]] support {

/// The number of ticks nearest to the moment, of which `perSecond / perSeconds` make a second; a tie goes
/// away from zero. No value if it is beyond 64 bits, or for NaN.
[[nodiscard]] std::optional<std::int64_t> ticksSince1970(const Date& date, std::uint64_t perSecond,
                                                         std::uint64_t perSeconds);

}  // namespace support

/// The moment of a system clock's time, to about 0.1 µs in this century: a `Date` is a 64-bit float.
template <typename Duration>
[[nodiscard]] constexpr Date dateFrom(std::chrono::sys_time<Duration> time) {
  using namespace std::chrono;
  using Seconds = duration<double>;
  const Duration since1970 = time.time_since_epoch();
  if constexpr (std::is_integral_v<typename Duration::rep> && sizeof(typename Duration::rep) > 4 &&
                Duration::period::num == 1 && Duration::period::den > 1) {
    // A count of more bits than a float has, such as one of nanoseconds, is rounded once, as seconds.
    constexpr std::int64_t largestWhole = std::int64_t{1} << 53;
    if (since1970.count() > largestWhole || since1970.count() < -largestWhole) {
      const auto whole = floor<duration<typename Duration::rep>>(since1970);
      return Date::fromSecondsSince1970(Seconds(whole).count() + Seconds(since1970 - whole).count());
    }
  }
  return Date::fromSecondsSince1970(Seconds(since1970).count());
}

/// The moment as a system clock's time, rounded once to the nearest `Duration`, such as
/// `std::chrono::milliseconds`; a tie goes away from 1970. No value if `Duration` can't count so far, or for
/// NaN. Of the nanoseconds of a date that is more than 100 days from 1970, `dateFrom` makes the same date.
template <typename Duration = std::chrono::microseconds>
  requires std::is_signed_v<typename Duration::rep>
[[nodiscard]] std::optional<std::chrono::sys_time<Duration>> systemTime(const Date& date) {
  using Rep = typename Duration::rep;
  using PerSecond = std::ratio_divide<std::ratio<1>, typename Duration::period>;
  if constexpr (std::is_integral_v<Rep>) {
    const auto ticks = support::ticksSince1970(date, PerSecond::num, PerSecond::den);
    if (!ticks || *ticks < std::numeric_limits<Rep>::min() || *ticks > std::numeric_limits<Rep>::max())
      return std::nullopt;
    return std::chrono::sys_time<Duration>(Duration(static_cast<Rep>(*ticks)));
  } else {
    const double count =
        date.secondsSince1970() * static_cast<double>(PerSecond::num) / static_cast<double>(PerSecond::den);
    const auto beyond = static_cast<double>(std::numeric_limits<Rep>::max());
    if (!(count >= -beyond && count <= beyond)) return std::nullopt;
    return std::chrono::sys_time<Duration>(Duration(static_cast<Rep>(count)));
  }
}

}  // namespace tilvanego
