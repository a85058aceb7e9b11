#include <tilvanego/values/DebugLiteral.h>

#include <cstddef>

#include <unicode/uchar.h>

#include <tilvanego/values/OneLine.h>
#include <tilvanego/values/UTF8.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// Whether the scalar combines with a printable ASCII character before it.
bool attaches(char32_t scalar) {
  if (scalar < 0x300) return false;
  const auto kind = u_getIntPropertyValue(static_cast<UChar32>(scalar), UCHAR_GRAPHEME_CLUSTER_BREAK);
  return kind == U_GCB_EXTEND || kind == U_GCB_SPACING_MARK || kind == U_GCB_ZWJ;
}

// Two digits for ASCII, four for the rest of the first plane, else eight.
void appendHexEscape(std::string& literal, char32_t scalar) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  literal += "\\u{";
  for (int shift = scalar < 0x80 ? 4 : scalar < 0x10000 ? 12 : 28; shift >= 0; shift -= 4) {
    literal += digits[(scalar >> shift) & 0xF];
  }
  literal += '}';
}

// Returns the character after the backslash, or 0 if the scalar has no short escape.
constexpr char shortEscape(char32_t scalar) {
  constexpr std::u32string_view escaped(U"\0\t\n\r\"'\\", 7);
  constexpr std::string_view letters = "0tnr\"'\\";
  const std::size_t at = escaped.find(scalar);
  return at == escaped.npos ? '\0' : letters[at];
}

bool isObeyedInLiteral(char32_t scalar) {
  constexpr char32_t nonJoiner = 0x200C;
  constexpr char32_t joiner = 0x200D;
  return detail::isObeyed(scalar) && scalar != nonJoiner && scalar != joiner;
}

std::string literalOf(std::string_view text, bool (*isHexToo)(char32_t scalar)) {
  std::string literal;
  literal.reserve(text.size() + 2);
  literal += '"';
  bool afterSyntax = true;
  for (std::size_t at = 0; at < text.size();) {
    const auto [scalar, length, wellFormed] = detail::decodeScalar(text, at);
    at += length;
    const char escape = shortEscape(scalar);
    const bool hex = scalar < 0x20 || scalar == 0x7F || (afterSyntax && attaches(scalar)) || isHexToo(scalar);
    if (escape != 0) {
      literal += '\\';
      literal += escape;
    } else if (hex) {
      appendHexEscape(literal, scalar);
    } else {
      detail::appendScalar(literal, scalar);
    }
    afterSyntax = escape != 0 || hex;
  }
  literal += '"';
  return literal;
}

}  // namespace

std::string debugLiteral(std::string_view text) {
  return literalOf(text, [](char32_t) { return false; });
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::string oneLineLiteral(std::string_view text) { return literalOf(text, isObeyedInLiteral); }

}  // namespace tilvanego::detail
