#include <tilvanego/json/JSONNumber.h>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <version>

#include <tilvanego/values/ASCII.h>

#ifndef __cpp_lib_to_chars
#include <clocale>
#include <cstdlib>
#ifdef __APPLE__
#include <xlocale.h>
#endif
#endif

namespace tilvanego::json::detail {
namespace {

using tilvanego::detail::isDigit;

// The powers of ten and the integers that a double holds exactly. With both, one multiplication or division
// rounds once, so the result is the nearest double (W. D. Clinger, "How to read floating point numbers
// accurately").
constexpr std::array<double, 23> exactPowersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                     1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                     1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr std::uint64_t largestExactInteger = std::uint64_t{1} << 53;
constexpr std::int64_t maxMantissaDigits = 19;
// Larger than the number of digits of any text in memory.
constexpr std::int64_t exponentCeiling = 1'000'000'000'000'000;

// Whether the magnitude is less than 1: distinguishes a number too small for a double from one too large.
bool isBelowOne(const JSONNumber& number) { return number.digits + number.exponent <= 0; }

// Returns the nearest value for any number of digits. Beyond the range, an infinity or 0.
template <typename Real>
Real nearest(const JSONNumber& number) {
#ifdef __cpp_lib_to_chars
  Real value = 0;
  const char* end = number.text.data() + number.text.size();
  if (std::from_chars(number.text.data(), end, value).ec != std::errc::result_out_of_range) return value;
  return isBelowOne(number) ? 0 : std::numeric_limits<Real>::infinity();
#else
  static const locale_t plainLocale = newlocale(LC_ALL_MASK, "C", nullptr);
  const std::string text(number.text);
  if constexpr (std::is_same_v<Real, float>) {
    return strtof_l(text.c_str(), nullptr, plainLocale);
  } else {
    return strtod_l(text.c_str(), nullptr, plainLocale);
  }
#endif
}

template <typename Real>
std::optional<Real> nearestFinite(const JSONNumber& number) {
  const Real value = nearest<Real>(number);
  if (value == 0 || !std::isfinite(value)) return std::nullopt;
  return value;
}

// significant * 10^exponent, with digits from the first to the last that isn't 0, if they fit.
struct Digits {
  std::uint64_t significant = 0;
  std::int64_t exponent = 0;
  bool fits = true;
};

// For a number with more digits than its mantissa holds.
Digits digitsOfText(const JSONNumber& number) {
  Digits digits{0, number.exponent, true};
  std::int64_t zeros = 0;
  const auto append = [&](std::uint64_t digit) {
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    digits.fits &= digits.significant <= (largest - digit) / 10;
    digits.significant = digits.significant * 10 + digit;
  };
  for (const char c : number.text) {
    if (c == 'e' || c == 'E' || !digits.fits) break;
    if (!isDigit(c)) continue;
    if (c == '0') {
      ++zeros;
      continue;
    }
    for (; zeros > 0 && digits.significant != 0 && digits.fits; --zeros) append(0);
    zeros = 0;
    append(static_cast<std::uint64_t>(c - '0'));
  }
  digits.exponent += zeros;
  return digits;
}

Digits digitsOf(const JSONNumber& number) {
  if (number.digits > maxMantissaDigits) return digitsOfText(number);
  Digits digits{number.mantissa, number.exponent, true};
  for (; digits.exponent < 0 && digits.significant % 10 == 0; ++digits.exponent) digits.significant /= 10;
  return digits;
}

}  // namespace

JSONNumber scanJSONNumber(std::string_view text) {
  JSONNumber number;
  const char* cursor = text.data();
  const char* const end = cursor + text.size();
  const auto takeDigits = [&]() -> std::int64_t {
    const char* const first = cursor;
    for (; cursor != end && isDigit(*cursor); ++cursor) {
      if (number.digits < maxMantissaDigits) {
        number.mantissa = number.mantissa * 10 + static_cast<unsigned>(*cursor - '0');
      }
      if (number.mantissa != 0) ++number.digits;
    }
    return cursor - first;
  };

  if (cursor != end && *cursor == '-') number.negative = true, ++cursor;
  if (cursor != end && *cursor == '0') {
    ++cursor;
  } else if (takeDigits() == 0) {
    return {};
  }
  if (cursor != end && *cursor == '.') {
    ++cursor;
    number.plain = false;
    number.exponent = -takeDigits();
    if (number.exponent == 0) return {};
  }
  if (cursor != end && (*cursor == 'e' || *cursor == 'E')) {
    ++cursor;
    number.plain = false;
    bool shrinks = false;
    if (cursor != end && (*cursor == '+' || *cursor == '-')) shrinks = *cursor++ == '-';
    if (cursor == end || !isDigit(*cursor)) return {};
    std::int64_t written = 0;
    for (; cursor != end && isDigit(*cursor); ++cursor) {
      if (written < exponentCeiling) written = written * 10 + (*cursor - '0');
    }
    number.exponent += shrinks ? -written : written;
  }
  number.text = text.substr(0, static_cast<std::size_t>(cursor - text.data()));
  return number;
}

std::optional<double> JSONNumber::asDouble() const {
  if (mantissa == 0) return negative ? -0.0 : 0.0;
  double value = 0;
  if (digits <= maxMantissaDigits && mantissa <= largestExactInteger && exponent >= -22 && exponent <= 22) {
    value = static_cast<double>(mantissa);
    if (exponent < 0) {
      value /= exactPowersOfTen[static_cast<std::size_t>(-exponent)];
    } else {
      value *= exactPowersOfTen[static_cast<std::size_t>(exponent)];
    }
    return negative ? -value : value;
  }
  return nearestFinite<double>(*this);
}

std::optional<float> JSONNumber::asFloat() const {
  if (mantissa == 0) return negative ? -0.0F : 0.0F;
  return nearestFinite<float>(*this);
}

// Returns the magnitude of the number, if it is whole and fits.
std::optional<std::uint64_t> JSONNumber::wholeMagnitude() const {
  if (plain && digits <= maxMantissaDigits) return mantissa;
  if (mantissa == 0) return 0;
  const Digits whole = digitsOf(*this);
  if (whole.exponent < 0 && isBelowOne(*this) && !asDouble()) return 0;
  if (!whole.fits || whole.exponent < 0 || whole.exponent > maxMantissaDigits) return std::nullopt;
  std::uint64_t value = whole.significant;
  for (std::int64_t i = 0; i < whole.exponent; ++i) {
    if (value > std::numeric_limits<std::uint64_t>::max() / 10) return std::nullopt;
    value *= 10;
  }
  return value;
}

std::optional<std::int64_t> JSONNumber::asInteger() const {
  constexpr std::uint64_t largest = INT64_MAX;
  const std::optional<std::uint64_t> magnitude = wholeMagnitude();
  if (!magnitude || *magnitude > largest + (negative ? 1 : 0)) return std::nullopt;
  return static_cast<std::int64_t>(negative ? 0 - *magnitude : *magnitude);
}

std::optional<std::uint64_t> JSONNumber::asUnsigned() const {
  const std::optional<std::uint64_t> magnitude = wholeMagnitude();
  return negative && magnitude != 0 ? std::nullopt : magnitude;
}

}  // namespace tilvanego::json::detail
