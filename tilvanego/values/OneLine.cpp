#include <tilvanego/values/OneLine.h>

#include <cstddef>

#include <tilvanego/values/UTF8.h>

namespace tilvanego::detail {
namespace {

void appendEscape(std::string& text, char32_t unit) {
  constexpr std::string_view digits = "0123456789abcdef";
  text += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) text += digits[unit >> shift & 0xF];
}

}  // namespace

std::string inOneLine(std::string_view text) {
  std::string line;
  for (std::size_t at = 0; at < text.size();) {
    const auto [scalar, length, wellFormed] = decodeScalar(text, at);
    if (!wellFormed) {
      line += "\uFFFD";
    } else if (isObeyed(scalar)) {
      appendEscape(line, scalar);
    } else {
      line += text.substr(at, length);
    }
    at += length;
  }
  return line;
}

}  // namespace tilvanego::detail
