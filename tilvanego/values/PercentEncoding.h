#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/CharacterRuns.h>
#include <tilvanego/values/Support.h>

/// Percent-encoding (RFC 3986, section 2.1) of UTF-8 text, with upper-case hexadecimal digits. Nothing is
/// normalised, and bytes that are not UTF-8 are escaped one by one.
namespace tilvanego::detail {

/// Writes the escape of a byte, three characters. Returns the end of what it wrote.
inline char* writeEscape(char* out, char byte) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto value = static_cast<std::uint8_t>(byte);
  *out++ = '%';
  *out++ = digits[value >> 4];
  *out++ = digits[value & 15];
  return out;
}

/// Appends `text` with every byte outside `Allowed` escaped, "%" included. In a query item the ASCII letters
/// and digits and -._~!$'()*+,;:@/? are allowed; so "+" stays "+", and a space becomes "%20".
template <CharacterClass Allowed>
void appendPercentEncoded(std::string& target, std::string_view text) {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (true) {
    const char* const run = at;
    at = endOfRun<Allowed>(at, end);
    target.append(run, at);
    if (at == end) return;
    char escape[3];
    target.append(escape, writeEscape(escape, *at++));
  }
}

}  // namespace tilvanego::detail

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// Returns `text` with its escapes decoded. Returns no value if a "%" is not followed by two hexadecimal
/// digits, or if the result is not UTF-8. "+" stays "+".
[[nodiscard]] std::optional<std::string> percentDecoded(std::string_view text);

/// Like `percentDecoded`, but appends to `target`. Returns false, with `target` unchanged, where
/// `percentDecoded` returns no value.
[[nodiscard]] bool appendPercentDecoded(std::string& target, std::string_view text);

}  // namespace support
}  // namespace tilvanego
