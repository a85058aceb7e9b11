#include <tilvanego/values/Decimal.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include <tilvanego/values/DecimalParts.h>
#include <tilvanego/values/HashMixing.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using detail::addOverflows, detail::multiplyOverflows;
using detail::DecimalParts, detail::DigitCollector, detail::Mantissa;
using detail::largestExponent, detail::smallestExponent, detail::largestMantissa, detail::powersOfTen;

// The part of a number that rounding drops.
struct Remainder {
  bool isZero;
  std::strong_ordering toHalf;
};

constexpr bool roundsAway(Rounding rounding, bool odd, const Remainder& remainder) {
  if (remainder.isZero || rounding == Rounding::down) return false;
  if (rounding == Rounding::up) return true;
  return rounding == Rounding::halfUp ? remainder.toHalf >= 0 : detail::roundsUp(odd, remainder.toHalf);
}

std::strong_ordering comparedMagnitudes(const DecimalParts& a, const DecimalParts& b) {
  if (a.exponent < b.exponent) return 0 <=> comparedMagnitudes(b, a);
  if (a.mantissa == 0 || b.mantissa == 0) return a.mantissa <=> b.mantissa;
  const auto shift = static_cast<std::size_t>(a.exponent - b.exponent);
  Mantissa scaled = 0;
  const bool beyond =
      shift >= powersOfTen.size() || multiplyOverflows(a.mantissa, powersOfTen[shift], scaled);
  return beyond ? std::strong_ordering::greater : scaled <=> b.mantissa;
}

// The digits of a number from 10^highest down to 10^lowest.
std::string digitRow(const DecimalParts& parts, int lowest, int highest) {
  std::array<char, detail::mantissaDigits> buffer{};
  const std::string_view digits = detail::digitsOf(parts.mantissa, buffer);
  std::string row(static_cast<std::size_t>(highest - lowest + 1), '0');
  const auto end = row.size() - static_cast<std::size_t>(parts.exponent - lowest);
  row.replace(end - digits.size(), digits.size(), digits);
  return row;
}

// Adds digit by digit, for sums that do not fit 128 bits. `a` has the greater magnitude.
struct RoundedSum {
  DecimalParts parts;
  bool isExact;
};
RoundedSum addedDigitByDigit(const DecimalParts& a, const DecimalParts& b) {
  const int lowest = std::min(a.exponent, b.exponent);
  const int highest = std::max(a.exponent, b.exponent) + static_cast<int>(detail::mantissaDigits);
  std::string sum = digitRow(a, lowest, highest);
  const std::string other = digitRow(b, lowest, highest);
  const int sign = a.negative == b.negative ? 1 : -1;
  int carry = 0;
  for (std::size_t i = sum.size(); i-- > 0;) {
    const int digit = (sum[i] - '0') + sign * (other[i] - '0') + carry;
    carry = digit < 0 ? -1 : digit / 10;
    sum[i] = static_cast<char>('0' + digit - 10 * carry);
  }
  DigitCollector digits;
  for (const char digit : sum) digits.take(digit);
  return {digits.parts(a.negative, lowest), digits.isExact()};
}

// The common case: both fit one scale and the sum fits too. `a` has the greater magnitude.
std::optional<DecimalParts> addedExactly(const DecimalParts& a, const DecimalParts& b) {
  const int exponent = std::min(a.exponent, b.exponent);
  const auto scaled = [&](const DecimalParts& parts, Mantissa& result) {
    const auto shift = static_cast<std::size_t>(parts.exponent - exponent);
    return shift < powersOfTen.size() && !multiplyOverflows(parts.mantissa, powersOfTen[shift], result);
  };
  Mantissa left = 0;
  Mantissa right = 0;
  if (!scaled(a, left) || !scaled(b, right)) return std::nullopt;
  if (a.negative != b.negative) return DecimalParts{a.negative, left - right, exponent};
  Mantissa sum = 0;
  if (addOverflows(left, right, sum)) return std::nullopt;
  return DecimalParts{a.negative, sum, exponent};
}

RoundedSum added(const Decimal& a, const Decimal& b) {
  DecimalParts greater = DecimalParts::of(a);
  DecimalParts lesser = DecimalParts::of(b);
  if (comparedMagnitudes(greater, lesser) < 0) std::swap(greater, lesser);
  if (const auto exact = addedExactly(greater, lesser)) return {*exact, true};
  return addedDigitByDigit(greater, lesser);
}

// Divides a factor two of `a` and a factor five of `b` out, as often as both have one: what is left of the
// product then ends with no zero, so that it fits if any form of it does.
void takeTensOut(Mantissa& a, Mantissa& b, int& exponent) {
  for (; a % 2 == 0 && b % 5 == 0; ++exponent) {
    a /= 2;
    b /= 5;
  }
}

// Drops the last `count` digits of `mantissa`. `rest` says whether something not zero follows them.
Remainder dropDigits(Mantissa& mantissa, int count, bool rest) {
  // From 10^39 on, the mantissa is less than half of one unit.
  if (static_cast<std::size_t>(count) >= powersOfTen.size()) {
    return {std::exchange(mantissa, 0) == 0 && !rest, std::strong_ordering::less};
  }
  const Mantissa unit = powersOfTen[static_cast<std::size_t>(count)];
  const Mantissa dropped = mantissa % unit;
  mantissa /= unit;
  const auto toHalf = dropped <=> unit / 2;
  return {dropped == 0 && !rest, toHalf == 0 && rest ? std::strong_ordering::greater : toHalf};
}

}  // namespace

Decimal::Decimal(bool negative, std::uint64_t magnitude)
    : Decimal(*DecimalParts{negative, magnitude, 0}.decimal()) {}

Decimal Decimal::rounded(unsigned fractionDigits, Rounding rounding) const {
  DecimalParts parts = DecimalParts::of(*this);
  const int excess = -parts.exponent - static_cast<int>(std::min(fractionDigits, 128U));
  if (excess <= 0) return *this;
  const Remainder dropped = dropDigits(parts.mantissa, excess, false);
  if (roundsAway(rounding, (parts.mantissa & 1) != 0, dropped)) ++parts.mantissa;
  parts.exponent += excess;
  return parts.decimal().value_or(Decimal());
}

std::optional<Decimal> Decimal::plus(const Decimal& other) const {
  if (isZero()) return other;
  if (other.isZero()) return *this;
  const RoundedSum sum = added(*this, other);
  return sum.isExact ? sum.parts.decimal() : std::nullopt;
}

std::optional<Decimal> Decimal::minus(const Decimal& other) const { return plus(-other); }

std::optional<Decimal> Decimal::times(const Decimal& factor) const {
  DecimalParts a = DecimalParts::of(*this);
  DecimalParts b = DecimalParts::of(factor);
  if (a.mantissa == 0 || b.mantissa == 0) return Decimal();
  DecimalParts product{a.negative != b.negative, 0, a.exponent + b.exponent};
  // Numbers of the largest exponent may still end with zeros.
  for (DecimalParts* parts : {&a, &b}) {
    for (; parts->mantissa % 10 == 0; parts->mantissa /= 10) ++product.exponent;
  }
  takeTensOut(a.mantissa, b.mantissa, product.exponent);
  takeTensOut(b.mantissa, a.mantissa, product.exponent);
  if (multiplyOverflows(a.mantissa, b.mantissa, product.mantissa)) return std::nullopt;
  for (; product.exponent > largestExponent; --product.exponent) {
    if (multiplyOverflows(product.mantissa, Mantissa{10}, product.mantissa)) return std::nullopt;
  }
  return product.decimal();
}

std::optional<Decimal> Decimal::dividedBy(const Decimal& divisor, unsigned fractionDigits,
                                          Rounding rounding) const {
  if (divisor.isZero()) return std::nullopt;
  const DecimalParts a = DecimalParts::of(*this);
  const DecimalParts b = DecimalParts::of(divisor);
  Mantissa rest = a.mantissa % b.mantissa;
  DecimalParts quotient{a.negative != b.negative, a.mantissa / b.mantissa, a.exponent - b.exponent};
  // A quotient that isn't exact has more digits than fit long before the 512th.
  const int unit = -static_cast<int>(std::min(fractionDigits, 512U));
  // Ten times the rest, which may not fit, divided by the divisor.
  const auto nextDigit = [&rest, divides = b.mantissa] {
    Mantissa digit = 0;
    Mantissa left = 0;
    if (!multiplyOverflows(rest, Mantissa{10}, left)) {
      digit = left / divides;
      rest = left % divides;
      return digit;
    }
    left = 0;
    for (int i = 0; i < 10; ++i) {
      const bool isWhole = left >= divides - rest;
      left = isWhole ? left - (divides - rest) : left + rest;
      if (isWhole) ++digit;
    }
    rest = left;
    return digit;
  };
  // Long division, one digit after the other, until the wanted digits are there or the quotient is exact. Of
  // the digits after those that fit, only a row of zeros or of nines can be rounded to a quotient that fits.
  int rowLength = 0;
  Mantissa row = 0;
  for (; quotient.exponent > unit && rest != 0; --quotient.exponent) {
    const Mantissa digit = nextDigit();
    Mantissa longer = 0;
    if (rowLength == 0 && !multiplyOverflows(quotient.mantissa, Mantissa{10}, longer) &&
        !addOverflows(longer, digit, longer)) {
      quotient.mantissa = longer;
    } else if ((digit == 0 || digit == 9) && (rowLength++ == 0 || digit == row)) {
      row = digit;
    } else {
      return std::nullopt;
    }
  }
  Remainder dropped{rest == 0, rest <=> b.mantissa - rest};
  if (quotient.exponent < unit) {
    dropped = dropDigits(quotient.mantissa, unit - quotient.exponent, rest != 0);
    quotient.exponent = unit;
  }
  const bool isOdd = ((rowLength > 0 ? row : quotient.mantissa) & 1) != 0;
  const bool isAway = roundsAway(rounding, isOdd, dropped);
  if (rowLength > 0 && isAway != (row == 9)) return std::nullopt;
  quotient.exponent += rowLength;
  if (isAway) {
    if (quotient.mantissa == largestMantissa) return std::nullopt;
    ++quotient.mantissa;
  }
  if (quotient.mantissa == 0) return Decimal();
  for (; quotient.exponent < smallestExponent && quotient.mantissa % 10 == 0; ++quotient.exponent) {
    quotient.mantissa /= 10;
  }
  for (; quotient.exponent > largestExponent; --quotient.exponent) {
    if (multiplyOverflows(quotient.mantissa, Mantissa{10}, quotient.mantissa)) return std::nullopt;
  }
  return quotient.decimal();
}

std::size_t Decimal::hash() const {
  constexpr std::hash<std::uint64_t> hashOf;
  const std::size_t mantissa = detail::mixHash(hashOf(high_), hashOf(low_));
  return detail::mixHash(detail::mixHash(mantissa, static_cast<std::uint8_t>(exponent_)), negative_ ? 1 : 0);
}

Decimal Decimal::operator-() const {
  Decimal result = *this;
  result.negative_ = !negative_ && !isZero();
  return result;
}

std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) {
  if (a.negative_ != b.negative_)
    return a.negative_ ? std::strong_ordering::less : std::strong_ordering::greater;
  const auto magnitudes = comparedMagnitudes(DecimalParts::of(a), DecimalParts::of(b));
  return a.negative_ ? 0 <=> magnitudes : magnitudes;
}

Decimal operator+(const Decimal& a, const Decimal& b) {
  if (a.isZero()) return b;
  if (b.isZero()) return a;
  const DecimalParts sum = added(a, b).parts;
  return sum.decimal().value_or(*DecimalParts{sum.negative, largestMantissa, largestExponent}.decimal());
}

}  // namespace tilvanego
