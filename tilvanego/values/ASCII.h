#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Text in which only the ASCII letters have a case, such as the names of header fields and the schemes of
/// URLs. All other bytes are kept, and equal only themselves. `Text.h` has the same for Unicode.
namespace tilvanego::detail {

[[nodiscard]] constexpr bool isASCII(char c) { return static_cast<unsigned char>(c) < 0x80; }

[[nodiscard]] constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

[[nodiscard]] constexpr char asciiUppercased(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

[[nodiscard]] constexpr char asciiLowercased(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

[[nodiscard]] inline std::string asciiLowercased(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = asciiLowercased(c);
  return result;
}

[[nodiscard]] constexpr bool equalIgnoringASCIICase(std::string_view a, std::string_view b) {
  return std::ranges::equal(
      a, b, [](char left, char right) { return asciiLowercased(left) == asciiLowercased(right); });
}

}  // namespace tilvanego::detail
