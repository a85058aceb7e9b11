#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace tilvanego {

/// Returns the integer in base 10: an optional "+" or "-", then ASCII digits and nothing else. Returns no
/// value for any other text, and for numbers that do not fit 64 signed bits.
[[nodiscard]] inline std::optional<std::int64_t> parseInteger(std::string_view text) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  std::int64_t value = 0;
  const char* const end = text.data() + text.size();
  // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): `end` is the size.
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

}  // namespace tilvanego
