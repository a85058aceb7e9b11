#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <tilvanego/values/Bytes.h>

/// Base64 by RFC 4648, section 4, and its form for URLs, section 5. Not constant-time.
namespace [[gnu::visibility("default")]] tilvanego {

/// The bytes in the standard alphabet, padded with "=", without line breaks.
[[nodiscard]] std::string base64Encode(std::span<const std::uint8_t> bytes);

/// Strict: nothing unless the whole text is groups of four characters of the standard alphabet, the last one
/// padded with "=" where it is short. Blanks, line breaks and the URL alphabet are refused. The bits that
/// padding leaves over may be anything, so "YR==" gives the same as "YQ==".
[[nodiscard]] std::optional<Bytes> base64Decode(std::string_view text);

/// The bytes with "-" and "_" in place of "+" and "/", and no padding.
[[nodiscard]] std::string base64URLEncode(std::span<const std::uint8_t> bytes);

/// As `base64Decode`, of the text with "-" read as "+", "_" as "/", and "=" added up to a multiple of four.
/// The standard alphabet and padding are thus accepted too.
[[nodiscard]] std::optional<Bytes> base64URLDecode(std::string_view text);

}  // namespace tilvanego
