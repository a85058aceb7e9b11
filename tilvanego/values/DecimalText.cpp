#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/DecimalFormatter.h>
#include <tilvanego/values/DecimalParts.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using detail::DecimalParts, detail::DigitCollector, detail::digitsOf, detail::isDigit, detail::mantissaDigits;

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

}  // namespace

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

std::ostream& Decimal::show(std::ostream& out) const { return out << text(); }

std::string formattedDecimal(const Decimal& value) {
  const Decimal rounded = value.rounded(3);
  return value.isNegative() && rounded.isZero() ? "-0" : rounded.text();
}

}  // namespace tilvanego
