#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/Support.h>

/// Percent-encoding (RFC 3986, section 2.1) of UTF-8 text, with upper-case hexadecimal digits. Nothing is
/// normalised, and bytes that are not UTF-8 are escaped one by one.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// Appends `text` with every byte outside `allowed` escaped, "%" included.
void appendPercentEncoded(std::string& target, std::string_view text, CharacterClass allowed);

/// Writes the escape of a byte, three characters. Returns the end of what it wrote.
inline char* writeEscape(char* out, char byte) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto value = static_cast<std::uint8_t>(byte);
  *out++ = '%';
  *out++ = digits[value >> 4];
  *out++ = digits[value & 15];
  return out;
}

/// Returns the number of bytes that `appendPercentEncoded` appends.
[[nodiscard]] std::size_t percentEncodedSize(std::string_view text, CharacterClass allowed);

/// Returns `text` with its escapes decoded. Returns no value if a "%" is not followed by two hexadecimal
/// digits, or if the result is not UTF-8. "+" stays "+".
[[nodiscard]] std::optional<std::string> percentDecoded(std::string_view text);

/// Like `percentDecoded`, but appends to `target`. Returns false, with `target` unchanged, where
/// `percentDecoded` returns no value.
[[nodiscard]] bool appendPercentDecoded(std::string& target, std::string_view text);

}  // namespace support
}  // namespace tilvanego
