#include <tilvanego/values/ChronoDate.h>

#include <cmath>

namespace [[gnu::visibility("default")]] tilvanego {

std::optional<std::int64_t> support::ticksSince1970(const Date& date, std::uint64_t perSecond,
                                                    std::uint64_t perSeconds) {
  const double seconds = std::fabs(date.secondsSince1970());
  if (!(seconds < 0x1p64)) return std::nullopt;
  const auto whole = static_cast<std::uint64_t>(seconds);
  const double fraction = seconds - static_cast<double>(whole);

  // The ticks of the fraction: whole ones, and what is left. `error` is what the product was rounded by.
  const double product = fraction * static_cast<double>(perSecond);
  const double error = std::fma(fraction, static_cast<double>(perSecond), -product);
  double ofFraction = std::floor(product);
  if (product == ofFraction && error < 0) --ofFraction;
  const double left = product - ofFraction;

  std::uint64_t ticks = 0;
  if (__builtin_mul_overflow(whole / perSeconds, perSecond, &ticks)) return std::nullopt;
  // Fits: one of the two is 1 for each of the standard's durations, and small for any other of use.
  const std::uint64_t rest = whole % perSeconds * perSecond + static_cast<std::uint64_t>(ofFraction);
  if (__builtin_add_overflow(ticks, rest / perSeconds, &ticks)) return std::nullopt;
  const std::uint64_t remainder = rest % perSeconds;
  const std::uint64_t half = perSeconds / 2;
  const bool isHalfLeft = left > 0.5 || (left == 0.5 && error >= 0);
  const bool isOdd = perSeconds % 2 != 0;
  const bool roundsUp = isOdd ? remainder > half || (remainder == half && isHalfLeft) : remainder >= half;
  if (roundsUp && ++ticks == 0) return std::nullopt;

  constexpr std::uint64_t smallest = std::uint64_t{1} << 63;
  if (date.secondsSince1970() < 0) {
    if (ticks > smallest) return std::nullopt;
    return static_cast<std::int64_t>(std::uint64_t{0} - ticks);
  }
  if (ticks >= smallest) return std::nullopt;
  return static_cast<std::int64_t>(ticks);
}

}  // namespace tilvanego
