#include <tilvanego/values/Decimal.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <ostream>
#include <utility>

#include <tilvanego/values/DecimalFormatter.h>
#include <tilvanego/values/UInt128.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using Mantissa = detail::UInt128;
using detail::addOverflows, detail::multiplyOverflows;

constexpr Mantissa largestMantissa = ~Mantissa{0};
constexpr int smallestExponent = -128;
constexpr int largestExponent = 127;
constexpr std::size_t mantissaDigits = 39;

// 10^0 to 10^38, the powers that fit.
constexpr auto powersOfTen = [] {
  std::array<Mantissa, mantissaDigits> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();
constexpr std::uint64_t tenTo19 = 10'000'000'000'000'000'000U;

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The mantissa's digits without leading zeros; none for zero. `digits` must outlive the result.
std::string_view digitsOf(Mantissa mantissa, std::array<char, mantissaDigits>& digits) {
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

constexpr bool roundsUp(bool odd, std::strong_ordering remainderToHalf) {
  return remainderToHalf > 0 || (remainderToHalf == 0 && odd);
}

// The part of a number that rounding drops.
struct Remainder {
  bool isZero;
  std::strong_ordering toHalf;
};

constexpr bool roundsAway(Rounding rounding, bool odd, const Remainder& remainder) {
  if (remainder.isZero || rounding == Rounding::down) return false;
  if (rounding == Rounding::up) return true;
  return rounding == Rounding::halfUp ? remainder.toHalf >= 0 : roundsUp(odd, remainder.toHalf);
}

}  // namespace

// A number that may not have the canonical form.
struct DecimalParts {
  bool negative = false;
  Mantissa mantissa = 0;
  int exponent = 0;

  static DecimalParts of(const Decimal& d) {
    return {d.negative_, (Mantissa{d.high_} << 64) | d.low_, d.exponent_};
  }

  // Returns no value if the exponent is out of range. Zero is in range with any exponent.
  std::optional<Decimal> decimal() const {
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

namespace {

// Takes digits, the most significant first, and rounds, half to even, those that do not fit the mantissa.
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

  bool isExact() const { return firstDropped_ == 0 && restIsZero_; }

  // Returns the digits so far as an integer times ten to the `exponent`.
  DecimalParts parts(bool negative, std::int64_t exponent) const {
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

// A cursor over the text. Each step reads a part, if it is there, and returns whether it was.
class NumberScanner {
 public:
  explicit NumberScanner(std::string_view text) : text_(text) {}

  bool atEnd() const { return at_ == text_.size(); }
  void skipBlanks() {
    while (peek() == ' ' || (peek() >= '\t' && peek() <= '\r')) ++at_;
  }
  bool takeSign() {
    const bool negative = peek() == '-';
    if (negative || peek() == '+') ++at_;
    return negative;
  }
  bool takePoint() { return takeIf('.'); }
  std::size_t takeDigits(DigitCollector& digits) {
    const std::size_t start = at_;
    for (; isDigit(peek()); ++at_) digits.take(text_[at_]);
    return at_ - start;
  }
  // Reads an exponent. Without a digit, returns no value and reads nothing. A huge exponent saturates far
  // outside the range.
  std::optional<std::int64_t> takeExponent() {
    const std::size_t start = at_;
    if (!takeIf('e') && !takeIf('E')) return std::nullopt;
    const bool negative = takeSign();
    if (!isDigit(peek())) {
      at_ = start;
      return std::nullopt;
    }
    std::int64_t exponent = 0;
    constexpr std::int64_t enough = std::int64_t{1} << 48;
    for (; isDigit(peek()); ++at_) exponent = std::min(exponent * 10 + (peek() - '0'), enough);
    return negative ? -exponent : exponent;
  }

 private:
  char peek() const { return atEnd() ? '\0' : text_[at_]; }
  bool takeIf(char expected) {
    if (peek() != expected) return false;
    ++at_;
    return true;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

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
  std::array<char, mantissaDigits> buffer{};
  const std::string_view digits = digitsOf(parts.mantissa, buffer);
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
  const int highest = std::max(a.exponent, b.exponent) + static_cast<int>(mantissaDigits);
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

std::optional<Decimal> Decimal::parse(std::string_view text) {
  NumberScanner scanner(text);
  scanner.skipBlanks();
  const bool negative = scanner.takeSign();
  DigitCollector digits;
  const std::size_t whole = scanner.takeDigits(digits);
  const std::size_t fraction = scanner.takePoint() ? scanner.takeDigits(digits) : 0;
  if (whole + fraction == 0) return std::nullopt;
  const std::int64_t exponent = scanner.takeExponent().value_or(0);
  return digits.parts(negative, exponent - static_cast<std::int64_t>(fraction)).decimal();
}

std::optional<Decimal> Decimal::parseExact(std::string_view text) {
  NumberScanner scanner(text);
  const bool negative = scanner.takeSign();
  DigitCollector digits;
  if (scanner.takeDigits(digits) == 0) return std::nullopt;
  std::size_t fraction = 0;
  if (scanner.takePoint()) {
    fraction = scanner.takeDigits(digits);
    if (fraction == 0) return std::nullopt;
  }
  const std::int64_t exponent = scanner.takeExponent().value_or(0);
  if (!scanner.atEnd() || !digits.isExact()) return std::nullopt;
  return digits.parts(negative, exponent - static_cast<std::int64_t>(fraction)).decimal();
}

std::optional<Decimal> Decimal::fromDouble(double value) {
  if (!std::isfinite(value)) return std::nullopt;
  std::array<char, 32> digits{};
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  return parse(std::string_view(digits.data(), end));
}

std::string Decimal::text() const {
  if (isZero()) return "0";
  const DecimalParts parts = DecimalParts::of(*this);
  std::array<char, mantissaDigits> buffer{};
  const std::string_view digits = digitsOf(parts.mantissa, buffer);
  std::string result;
  if (parts.negative) result += '-';
  if (parts.exponent >= 0) {
    result += digits;
    result.append(static_cast<std::size_t>(parts.exponent), '0');
    return result;
  }
  const auto fraction = static_cast<std::size_t>(-parts.exponent);
  if (fraction < digits.size()) {
    result += digits.substr(0, digits.size() - fraction);
    result += '.';
    result += digits.substr(digits.size() - fraction);
  } else {
    result += "0.";
    result.append(fraction - digits.size(), '0');
    result += digits;
  }
  return result;
}

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
  constexpr std::uint64_t spread = 0x9E3779B97F4A7C15U;
  std::uint64_t mixed = (high_ * spread ^ low_) * spread;
  mixed = (mixed ^ static_cast<std::uint8_t>(exponent_)) * spread + (negative_ ? 1 : 0);
  return static_cast<std::size_t>(mixed ^ mixed >> 32);
}

std::ostream& Decimal::show(std::ostream& out) const { return out << text(); }

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

std::string formattedDecimal(const Decimal& value) {
  const Decimal rounded = value.rounded(3);
  return value.isNegative() && rounded.isZero() ? "-0" : rounded.text();
}

}  // namespace tilvanego
