#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <tilvanego/values/Support.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// One step of reading UTF-8: a Unicode scalar value, or an ill-formed sequence (the longest start of a valid
/// one).
struct DecodedScalar {
  char32_t scalar = U'\uFFFD';
  std::uint8_t length = 1;  ///< In bytes, at least 1.
  bool wellFormed = false;
};

/// Reads the scalar that begins at `at`, which must be less than the size of `text`. For an ill-formed
/// sequence, returns U+FFFD with the length of its maximal subpart (The Unicode Standard, section 3.9), so
/// that a reader that continues after it writes one replacement for each.
[[nodiscard]] constexpr DecodedScalar decodeScalar(std::string_view text, std::size_t at) {
  const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char lead = byteAt(at);
  if (lead < 0x80) return {lead, 1, true};

  std::uint8_t length = 0;
  char32_t scalar = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    scalar = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    scalar = lead & 0x0F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    scalar = lead & 0x07;
  } else {
    return {};
  }

  // The second byte's range is narrower after four leads: overlong forms, surrogates, beyond U+10FFFF.
  unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  for (std::uint8_t read = 1; read < length; ++read) {
    if (at + read >= text.size()) return {U'\uFFFD', read, false};
    const unsigned char byte = byteAt(at + read);
    if (byte < lowest || byte > highest) return {U'\uFFFD', read, false};
    scalar = (scalar << 6) | (byte & 0x3F);
    lowest = 0x80;
    highest = 0xBF;
  }
  return {scalar, length, true};
}

/// Returns the number of bytes before the first one that is not ASCII.
[[nodiscard]] std::size_t asciiPrefixLength(std::string_view text);

/// Appends the UTF-8 form of a Unicode scalar value.
void appendScalar(std::string& text, char32_t scalar);

}  // namespace support
}  // namespace tilvanego
