#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace tilvanego {

/// Returns the integer in base 10: ASCII digits, for a signed type with an optional "-", and nothing else.
/// Returns no value for any other text, and for numbers that do not fit.
template <std::integral Integer>
[[nodiscard]] std::optional<Integer> wholeNumber(std::string_view text) {
  Integer value = 0;
  const char* const end = text.data() + text.size();
  // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): `end` is the size.
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

/// Like `wholeNumber` of 64 signed bits, but also takes a "+".
[[nodiscard]] inline std::optional<std::int64_t> parseInteger(std::string_view text) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  return wholeNumber<std::int64_t>(text);
}

}  // namespace tilvanego
