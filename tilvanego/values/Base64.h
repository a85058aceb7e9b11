#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <tilvanego/values/Bytes.h>

/// Base64 (RFC 4648, section 4) and its form for URLs (section 5). Not constant-time. Any thread may call
/// these functions.
namespace [[gnu::visibility("default")]] tilvanego {

/// Returns the bytes as text in the standard alphabet, padded with "=", without line breaks.
[[nodiscard]] std::string base64Encode(std::span<const std::uint8_t> bytes);

/// Returns the bytes, or no value if the text is not valid. The whole text must be groups of four characters
/// of the standard alphabet; "=" fills up a short last group. Blanks, line breaks and the URL alphabet are
/// refused. Unused bits of the last group are ignored: "YR==" and "YQ==" return the same byte.
[[nodiscard]] std::optional<Bytes> base64Decode(std::string_view text);

/// Returns the bytes as text with "-" and "_" in place of "+" and "/", without padding.
[[nodiscard]] std::string base64URLEncode(std::span<const std::uint8_t> bytes);

/// Like `base64Decode`, but "-" also means "+", "_" also means "/", and the padding may be missing. The
/// standard alphabet and padding are accepted too.
[[nodiscard]] std::optional<Bytes> base64URLDecode(std::string_view text);

}  // namespace tilvanego
