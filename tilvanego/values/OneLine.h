#pragma once

#include <string>
#include <string_view>

/// Text of others in one line of a log or a terminal.
namespace tilvanego::detail {

/// Returns true for a character that a terminal or a log acts on instead of showing it: control characters,
/// line ends, direction marks, and what is invisible.
[[nodiscard]] constexpr bool isObeyed(char32_t scalar) {
  return scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0) || scalar == 0x61C ||
         (scalar >= 0x200B && scalar <= 0x200F) || (scalar >= 0x2028 && scalar <= 0x202E) ||
         (scalar >= 0x2060 && scalar <= 0x206F) || scalar == 0xFEFF;
}

/// Returns the text with an escape such as `\u202e` for each character that `isObeyed` names. Each ill-formed
/// sequence becomes U+FFFD.
[[nodiscard]] std::string inOneLine(std::string_view text);

/// Returns `debugLiteral` of the text, in which also the characters that `isObeyed` names are escapes. The
/// two joiners are kept, without which scripts and emoji fall apart.
[[nodiscard]] std::string oneLineLiteral(std::string_view text);

}  // namespace tilvanego::detail
