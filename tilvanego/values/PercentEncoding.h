#pragma once

#include <tilvanego/values/CharacterTables.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Percent-encoding (RFC 3986, section 2.1) of UTF-8 text, with upper-case hexadecimal digits. Bytes are
/// taken as they are: nothing is normalised, and bytes that are no UTF-8 are escaped one by one.
namespace tilvanego::detail {

/// Appends `text` with every byte outside `allowed` escaped, "%" included.
void appendPercentEncoded(std::string& target, std::string_view text, CharacterClass allowed);

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
