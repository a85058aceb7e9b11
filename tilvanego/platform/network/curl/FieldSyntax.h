#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace tilvanego::detail {

/// What method and header names are made of (RFC 9110, section 5.6.2).
constexpr bool isTokenCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

constexpr bool isToken(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, isTokenCharacter);
}

constexpr char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// The text with ASCII letters in lower case.
inline std::string lowerCase(std::string_view text) {
  std::string lowered(text);
  std::ranges::transform(lowered, lowered.begin(), [](char c) { return lowerCase(c); });
  return lowered;
}

constexpr bool equalsIgnoringCase(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right, [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

/// Without the blanks at both ends that don't belong to a field's value (RFC 9110, section 5.5).
constexpr std::string_view trimmedField(std::string_view value) {
  const auto begin = value.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return {};
  return value.substr(begin, value.find_last_not_of(" \t\r\n") - begin + 1);
}

}  // namespace tilvanego::detail
