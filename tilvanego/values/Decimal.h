#pragma once

#include <compare>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tilvanego {

/// An exact base-10 number: a sign, a mantissa of 128 bits and a power-of-ten exponent of -128...127. Numbers
/// of up to 38 significant digits are held exactly. A value type without allocation; equal numbers are equal
/// however they were written (12.50 equals 12.5), and there is one zero.
class Decimal {
 public:
  /// Zero.
  constexpr Decimal() = default;

  /// The integer itself; implicit, so that `amount > 0` reads as it should.
  template <std::integral Integer>
    requires(!std::same_as<Integer, bool>)
  Decimal(Integer value)
      : Decimal(value < 0, value < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(value)
                                     : static_cast<std::uint64_t>(value)) {}

  /// The number that the text begins with: ASCII blanks, an optional sign, digits with at most one ".", an
  /// optional exponent ("e" or "E", an optional sign, digits). Whatever follows is ignored, so "12abc" is 12
  /// and "1,000" is 1. Nothing if there is no digit. Digits beyond the 128 bits of the mantissa are rounded
  /// off, half to even; nothing if the exponent that then goes with the digits is outside -128...127 (1e127
  /// is a number, 1e128 and 1e-129 are none).
  [[nodiscard]] static std::optional<Decimal> parse(std::string_view text);

  /// The same for a text that is a number from end to end, written with digits on both sides of a "." and
  /// after an "e", without blanks. Refuses numbers that would have to be rounded.
  [[nodiscard]] static std::optional<Decimal> parseExact(std::string_view text);

  /// The shortest decimal that reads back as the same double, so that 12.1 gives 12.1. Nothing for NaN,
  /// infinities and doubles outside the range of `parse`.
  [[nodiscard]] static std::optional<Decimal> fromDouble(double value);

  /// Plain positional text: "-" if negative, digits, "." and a fraction if there is one. No grouping, no
  /// exponent, no trailing zero; 12.50 gives "12.5", 1E+3 gives "1000". At most 167 characters. `parse` reads
  /// it back as the same number.
  [[nodiscard]] std::string text() const;

  /// The number rounded half to even to at most `fractionDigits` digits after the point. A negative number
  /// that rounds to zero gives zero.
  [[nodiscard]] Decimal rounded(unsigned fractionDigits) const;

  [[nodiscard]] constexpr bool isNegative() const { return negative_; }
  [[nodiscard]] constexpr bool isZero() const { return high_ == 0 && low_ == 0; }

  friend constexpr bool operator==(const Decimal&, const Decimal&) = default;
  friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b);

  [[nodiscard]] Decimal operator-() const;

  /// The exact sum if the mantissa's 128 bits can hold it, else the sum rounded half to even to as many
  /// digits as they can. A sum beyond the largest magnitude, some 3.4E+165, is that magnitude.
  friend Decimal operator+(const Decimal& a, const Decimal& b);

 private:
  friend struct DecimalParts;

  Decimal(bool negative, std::uint64_t magnitude);

  // Value: (high_ * 2^64 + low_) * 10^exponent_. Kept in one form for each number, which makes equality
  // memberwise: the mantissa has no trailing zero, unless the exponent is the largest; zero has the exponent
  // 0 and no sign.
  std::uint64_t high_ = 0;
  std::uint64_t low_ = 0;
  std::int8_t exponent_ = 0;
  bool negative_ = false;
};

}  // namespace tilvanego
