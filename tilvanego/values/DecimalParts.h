#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/UInt128.h>

namespace tilvanego::detail {

using Mantissa = UInt128;

inline constexpr Mantissa largestMantissa = ~Mantissa{0};
inline constexpr int smallestExponent = -128;
inline constexpr int largestExponent = 127;
inline constexpr std::size_t mantissaDigits = 39;

/// 10^0 to 10^38, the powers that fit.
inline constexpr auto powersOfTen = [] {
  std::array<Mantissa, mantissaDigits> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();
inline constexpr std::uint64_t tenTo19 = 10'000'000'000'000'000'000U;

/// The mantissa's digits without leading zeros; none for zero. `digits` must outlive the result.
[[nodiscard]] inline std::string_view digitsOf(Mantissa mantissa, std::array<char, mantissaDigits>& digits) {
  char* const end = digits.data() + digits.size();
  char* first = end;
  while (mantissa > std::numeric_limits<std::uint64_t>::max()) {
    auto low = static_cast<std::uint64_t>(mantissa % tenTo19);
    mantissa /= tenTo19;
    for (int i = 0; i < 19; ++i, low /= 10) *--first = static_cast<char>('0' + low % 10);
  }
  for (auto low = static_cast<std::uint64_t>(mantissa); low != 0; low /= 10) {
    *--first = static_cast<char>('0' + low % 10);
  }
  return {first, end};
}

[[nodiscard]] constexpr bool roundsUp(bool odd, std::strong_ordering remainderToHalf) {
  return remainderToHalf > 0 || (remainderToHalf == 0 && odd);
}

/// A number that may not have the canonical form.
struct DecimalParts {
  bool negative = false;
  Mantissa mantissa = 0;
  int exponent = 0;

  [[nodiscard]] static DecimalParts of(const Decimal& d) {
    return {d.negative_, (Mantissa{d.high_} << 64) | d.low_, d.exponent_};
  }

  /// Returns no value if the exponent is out of range. Zero is in range with any exponent.
  [[nodiscard]] std::optional<Decimal> decimal() const {
    if (mantissa == 0) return Decimal();
    if (exponent < smallestExponent || exponent > largestExponent) return std::nullopt;
    DecimalParts canonical = *this;
    canonical.stripZeros();
    Decimal result;
    result.high_ = static_cast<std::uint64_t>(canonical.mantissa >> 64);
    result.low_ = static_cast<std::uint64_t>(canonical.mantissa);
    result.exponent_ = static_cast<std::int8_t>(canonical.exponent);
    result.negative_ = negative;
    return result;
  }

 private:
  void stripZeros() {
    while (mantissa > std::numeric_limits<std::uint64_t>::max() && exponent < largestExponent) {
      if (mantissa % 10 != 0) return;
      mantissa /= 10;
      ++exponent;
    }
    auto low = static_cast<std::uint64_t>(mantissa);
    if ((mantissa >> 64) != 0) return;
    for (; low % 10 == 0 && exponent < largestExponent; low /= 10) ++exponent;
    mantissa = low;
  }
};

/// Takes digits, the most significant first, and rounds, half to even, those that do not fit the mantissa.
class DigitCollector {
 public:
  void take(char digit) {
    const auto value = static_cast<unsigned>(digit - '0');
    Mantissa longer = 0;
    if (dropped_ == 0 && !multiplyOverflows(mantissa_, Mantissa{10}, longer) &&
        !addOverflows(longer, Mantissa{value}, longer)) {
      mantissa_ = longer;
    } else if (dropped_++ == 0) {
      firstDropped_ = value;
    } else if (value != 0) {
      restIsZero_ = false;
    }
  }

  [[nodiscard]] bool isExact() const { return firstDropped_ == 0 && restIsZero_; }

  /// Returns the digits so far as an integer times ten to the `exponent`.
  [[nodiscard]] DecimalParts parts(bool negative, std::int64_t exponent) const {
    DecimalParts result{negative, mantissa_, 0};
    std::int64_t power = exponent + dropped_;
    const auto toHalf =
        firstDropped_ == 5 && !restIsZero_ ? std::strong_ordering::greater : firstDropped_ <=> 5U;
    if (roundsUp((mantissa_ & 1) != 0, toHalf)) {
      if (mantissa_ == largestMantissa) {
        // 2^128 itself doesn't fit: one digit fewer, rounded up since it ends in 6.
        result.mantissa = largestMantissa / 10 + 1;
        ++power;
      } else {
        ++result.mantissa;
      }
    }
    result.exponent =
        static_cast<int>(std::clamp<std::int64_t>(power, smallestExponent - 1, largestExponent + 1));
    return result;
  }

 private:
  Mantissa mantissa_ = 0;
  std::int64_t dropped_ = 0;
  unsigned firstDropped_ = 0;
  bool restIsZero_ = true;
};

}  // namespace tilvanego::detail
