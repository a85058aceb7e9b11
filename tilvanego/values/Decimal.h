#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/CaseNames.h>

namespace tilvanego::detail {
struct DecimalParts;
struct LiteralReader;
}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// What becomes of digits that are dropped.
enum class Rounding {
  halfEven,  ///< to the nearest; a tie to the even neighbour: 0.125 becomes 0.12
  halfUp,    ///< to the nearest; a tie away from zero: 0.125 becomes 0.13
  up,        ///< away from zero
  down,      ///< towards zero
};

template <>
inline constexpr bool showsCaseNames<Rounding> = true;

/// An exact base-10 number: a sign, a mantissa of 128 bits and a power-of-ten exponent of -128...127. It
/// holds numbers of up to 38 significant digits exactly, without allocation. Numbers are equal if their
/// values are: 12.50 equals 12.5. There is no negative zero.
class Decimal {
 public:
  /// Zero.
  constexpr Decimal() = default;

  /// The integer's value. Implicit, so that `amount > 0` compiles.
  template <std::integral Integer>
    requires(!std::same_as<Integer, bool>)
  Decimal(Integer value)
      : Decimal(value < 0, value < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(value)
                                     : static_cast<std::uint64_t>(value)) {}

  /// Returns the number at the start of the text: ASCII blanks, an optional sign, digits with at most one
  /// ".", an optional exponent ("e" or "E", an optional sign, digits). The rest is ignored: "12abc" is 12 and
  /// "1,000" is 1. Returns no value if there is no digit. Digits that do not fit the mantissa are rounded,
  /// half to even. Returns no value if the exponent is then outside -128...127: 1e127 is a number, 1e128 and
  /// 1e-129 are not.
  [[nodiscard]] static std::optional<Decimal> parse(std::string_view text);

  /// Like `parse`, but the whole text must be the number: no blanks, digits on both sides of a "." and after
  /// an "e". Returns no value for a number that would be rounded.
  [[nodiscard]] static std::optional<Decimal> parseExact(std::string_view text);

  /// Returns the decimal with the fewest digits that reads back as the same double: 12.1 becomes 12.1. A
  /// whole double whose text is shorter without an exponent is taken exactly, such as 2^60, which becomes
  /// "1152921504606846976". Returns no value for NaN, infinities and doubles outside the range of `parse`.
  [[nodiscard]] static std::optional<Decimal> fromDouble(double value);

  /// Returns plain positional text: "-" if negative, digits, "." and a fraction if there is one. No grouping,
  /// no exponent, no trailing zero: 12.50 becomes "12.5", 1E+3 becomes "1000". At most 167 characters.
  /// `parse` reads it back as the same number.
  [[nodiscard]] std::string text() const;

  /// Returns the number rounded to at most `fractionDigits` digits after the point. A negative number may
  /// become zero, without a sign.
  [[nodiscard]] Decimal rounded(unsigned fractionDigits, Rounding rounding = Rounding::halfEven) const;

  /// The exact sum, difference and product; no value if this class can't hold it. They never round: round a
  /// product, such as a tax, with `rounded`.
  [[nodiscard]] std::optional<Decimal> plus(const Decimal& other) const;
  [[nodiscard]] std::optional<Decimal> minus(const Decimal& other) const;
  [[nodiscard]] std::optional<Decimal> times(const Decimal& factor) const;

  /// The quotient, rounded once to at most `fractionDigits` digits after the point. No value if the divisor
  /// is zero, or if this class can't hold the rounded quotient exactly.
  [[nodiscard]] std::optional<Decimal> dividedBy(const Decimal& divisor, unsigned fractionDigits,
                                                 Rounding rounding) const;

  /// The number of digits after the point that `text()` shows.
  [[nodiscard]] constexpr unsigned fractionDigits() const {
    return exponent_ < 0 ? static_cast<unsigned>(-exponent_) : 0U;
  }

  /// Equal numbers have equal hashes.
  [[nodiscard]] std::size_t hash() const;

  [[nodiscard]] constexpr bool isNegative() const { return negative_; }
  [[nodiscard]] constexpr bool isZero() const { return high_ == 0 && low_ == 0; }

  friend constexpr bool operator==(const Decimal&, const Decimal&) = default;
  friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b);

  [[nodiscard]] Decimal operator-() const;

  /// Returns the exact sum if the mantissa of 128 bits can hold it, else the sum rounded, half to even, to as
  /// many digits as fit. A sum beyond the largest magnitude, about 3.4E+165, becomes that magnitude.
  friend Decimal operator+(const Decimal& a, const Decimal& b);

  /// Writes `text()`.
  friend std::ostream& operator<<(std::ostream& out, const Decimal& value) { return value.show(out); }

 private:
  friend struct detail::DecimalParts;
  friend struct detail::LiteralReader;

  Decimal(bool negative, std::uint64_t magnitude);
  std::ostream& show(std::ostream& out) const;

  // Value: (high_ * 2^64 + low_) * 10^exponent_. Kept in one form for each number, which makes equality
  // memberwise: the mantissa has no trailing zero, unless the exponent is the largest; zero has the exponent
  // 0 and no sign.
  std::uint64_t high_ = 0;
  std::uint64_t low_ = 0;
  std::int8_t exponent_ = 0;
  bool negative_ = false;
};

}  // namespace tilvanego

template <>
struct std::hash<tilvanego::Decimal> {
  [[nodiscard]] std::size_t operator()(const tilvanego::Decimal& value) const { return value.hash(); }
};
