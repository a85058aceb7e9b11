#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace tilvanego::detail {

inline constexpr auto tokenCharacters = [] {
  std::array<bool, 256> are{};
  for (const char each : std::string_view("!#$%&'*+-.^_`|~0123456789"
                                          "abcdefghijklmnopqrstuvwxyz"
                                          "ABCDEFGHIJKLMNOPQRSTUVWXYZ")) {
    are[static_cast<unsigned char>(each)] = true;
  }
  return are;
}();

/// Whether a token may contain the character. Method and header names are tokens (RFC 9110, section 5.6.2).
constexpr bool isTokenCharacter(char c) { return tokenCharacters[static_cast<unsigned char>(c)]; }

constexpr bool isToken(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, isTokenCharacter);
}

/// Returns the value without the blanks and the line break at its ends, which aren't part of it (RFC 9110,
/// section 5.5).
constexpr std::string_view trimmedField(std::string_view value) {
  const auto isOutside = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!value.empty() && isOutside(value.front())) value.remove_prefix(1);
  while (!value.empty() && isOutside(value.back())) value.remove_suffix(1);
  return value;
}

}  // namespace tilvanego::detail
