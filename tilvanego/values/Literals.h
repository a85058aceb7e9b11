#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/URL.h>

/// Literals that are checked when they are compiled: a wrong text doesn't compile. They need no unchecked
/// dereference of what `parse` returns. `using namespace tilvanego::literals` (or `tilvanego`) makes them
/// visible.
///
/// ```cpp
/// using namespace tilvanego::literals;
///
/// const Decimal price = "12.50"_decimal;
/// const URL done = "myshop://payment-done"_url;
/// ```
namespace tilvanego::detail {

/// The text of a literal, as a template argument.
template <std::size_t size>
struct LiteralText {
  // NOLINTNEXTLINE(google-explicit-constructor): a literal is the argument.
  consteval LiteralText(const char (&literal)[size]) { std::copy_n(literal, size, characters); }
  [[nodiscard]] constexpr std::string_view view() const { return {characters, size - 1}; }
  char characters[size]{};
};

struct LiteralReader {
  /// Reads "-12.50": an optional "-", digits on both sides of an optional ".", of which the number fits 64
  /// bits.
  [[nodiscard]] static constexpr std::optional<Decimal> decimal(std::string_view text) {
    Decimal number;
    number.negative_ = text.starts_with('-');
    if (number.negative_) text.remove_prefix(1);
    const std::size_t point = std::min(text.find('.'), text.size());
    if (point == 0 || point + 1 == text.size()) return std::nullopt;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (i == point) continue;
      if (!isDigit(text[i])) return std::nullopt;
      const auto digit = static_cast<std::uint64_t>(text[i] - '0');
      if (number.low_ > (std::numeric_limits<std::uint64_t>::max() - digit) / 10) return std::nullopt;
      number.low_ = number.low_ * 10 + digit;
    }
    if (number.low_ == 0) return Decimal();
    auto exponent = point == text.size() ? 0 : -static_cast<std::int64_t>(text.size() - point - 1);
    // As `parse` has it, which counts the zeros at the end, too.
    if (exponent < std::numeric_limits<std::int8_t>::min()) return std::nullopt;
    for (; number.low_ % 10 == 0; number.low_ /= 10) ++exponent;
    number.exponent_ = static_cast<std::int8_t>(exponent);
    return number;
  }

  /// Whether the text is a URL as it stands, with a scheme. Stricter than `URL::parse`: no user information,
  /// no address in brackets, only ASCII, and nothing that would have to be percent-encoded.
  [[nodiscard]] static constexpr bool isURL(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || !isScheme(text.substr(0, colon))) return false;
    text.remove_prefix(colon + 1);
    if (text.starts_with("//")) {
      text.remove_prefix(2);
      const std::size_t end = std::min(text.find_first_of("/?#"), text.size());
      if (!isAuthority(text.substr(0, end))) return false;
      text.remove_prefix(end);
    }
    const std::size_t fragment = std::min(text.find('#'), text.size());
    const std::size_t query = std::min(text.find('?'), fragment);
    return isPart(text.substr(0, query), "/") && isPart(text.substr(query, fragment - query), "/?") &&
           (fragment == text.size() || isPart(text.substr(fragment + 1), "/?"));
  }

 private:
  [[nodiscard]] static constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
  [[nodiscard]] static constexpr bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  }
  [[nodiscard]] static constexpr bool isHex(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
  }
  [[nodiscard]] static constexpr bool isOf(std::string_view text, std::string_view further) {
    return std::ranges::all_of(
        text, [&](char c) { return isLetter(c) || isDigit(c) || further.find(c) != std::string_view::npos; });
  }
  [[nodiscard]] static constexpr bool isScheme(std::string_view text) {
    return !text.empty() && isLetter(text.front()) && isOf(text, "+-.");
  }
  [[nodiscard]] static constexpr bool isAuthority(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return isOf(text, "-._~");
    const std::string_view port = text.substr(colon + 1);
    return isOf(text.substr(0, colon), "-._~") && !port.empty() && std::ranges::all_of(port, isDigit);
  }
  /// Characters that a path, a query or a fragment may have (RFC 3986, `pchar`), `further` ones, and escapes.
  [[nodiscard]] static constexpr bool isPart(std::string_view text, std::string_view further) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] != '%') {
        if (!isOf(text.substr(i, 1), "-._~!$&'()*+,;=:@") && further.find(text[i]) == std::string_view::npos)
          return false;
      } else if (text.size() - i < 3 || !isHex(text[i + 1]) || !isHex(text[i + 2])) {
        return false;
      }
    }
    return true;
  }
};

/// Calls `reader` with the text. It is a copy: under g++'s undefined-behaviour sanitizer the address of a
/// template argument isn't a constant.
template <std::size_t size>
[[nodiscard]] consteval auto read(LiteralText<size> text, auto reader) {
  return reader(text.view());
}

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

namespace [[gnu::visibility("default")]] support {
/// The URL of a literal's text.
[[nodiscard]] URL urlOfLiteral(std::string_view text);
}  // namespace support

inline namespace [[gnu::visibility("default")]] literals {

/// The number, exactly: digits, with a "-" before them and a "." between them if wanted, without an exponent.
/// The number without its point must be less than 2^64, which holds 19 digits.
template <detail::LiteralText text>
[[nodiscard]] consteval Decimal operator""_decimal() {
  constexpr auto number = detail::read(text, detail::LiteralReader::decimal);
  static_assert(
      number.has_value(),
      "a decimal literal has digits, a \"-\" before them and a \".\" between them, and fits 64 bits");
  return *number;
}

/// The URL of exactly this text. It has a scheme, ASCII characters that need no percent-encoding, and neither
/// user information nor an address in brackets; `URL::parse` takes all others. Each evaluation makes a URL: a
/// hot path keeps one.
template <detail::LiteralText text>
[[nodiscard]] URL operator""_url() {
  static_assert(detail::read(text, detail::LiteralReader::isURL),
                "a URL literal has a scheme, and only characters that need no percent-encoding");
  return support::urlOfLiteral(text.view());
}

}  // namespace literals
}  // namespace tilvanego
