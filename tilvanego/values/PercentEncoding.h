#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/CharacterTables.h>

/// Percent-encoding (RFC 3986, section 2.1) of UTF-8 text, with upper-case hexadecimal digits. Bytes are
/// taken as they are: nothing is normalised, and bytes that are no UTF-8 are escaped one by one.
namespace tilvanego::detail {

/// Appends `text` with every byte outside `allowed` escaped, "%" included.
void appendPercentEncoded(std::string& target, std::string_view text, CharacterClass allowed);

/// Writes a byte's escape, three characters; gives the end of what was written.
inline char* writeEscape(char* out, char byte) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto value = static_cast<std::uint8_t>(byte);
  *out++ = '%';
  *out++ = digits[value >> 4];
  *out++ = digits[value & 15];
  return out;
}

/// How many bytes appendPercentEncoded adds.
[[nodiscard]] std::size_t percentEncodedSize(std::string_view text, CharacterClass allowed);

/// `text` as an item's name or value in a query. Unescaped stay the ASCII letters and digits and
/// -._~!$'()*+,;:@/? ; so
/// "+" stays a plus, and a space is "%20".
[[nodiscard]] std::string queryItemEncoded(std::string_view text);

/// `text` with all but the ASCII letters and digits escaped.
[[nodiscard]] std::string alphanumericEncoded(std::string_view text);

/// Undoes the escapes. No value if "%" stands without two hexadecimal digits, or if the result is no UTF-8.
/// "+" stays a plus.
[[nodiscard]] std::optional<std::string> percentDecoded(std::string_view text);

/// As percentDecoded, appended to `target`, which a failure leaves as it was.
[[nodiscard]] bool appendPercentDecoded(std::string& target, std::string_view text);

}  // namespace tilvanego::detail
