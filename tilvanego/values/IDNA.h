#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Internationalised host names (UTS #46, non-transitional) and their ASCII form (RFC 5891).
namespace tilvanego::detail {

/// Returns the ASCII form of `host`, UTF-8 with at least one character beyond ASCII: case folded, each such
/// label as "xn--…". Returns no value if there is no such form, and for more than 1,024 bytes, since the
/// conversion takes quadratic time.
[[nodiscard]] std::optional<std::string> hostToASCII(std::string_view host);

/// Returns the Unicode form of an ASCII `host` with an "xn--" label. Returns no value if there is no such
/// label, if a label is not valid, and for more than 1,024 bytes.
[[nodiscard]] std::optional<std::string> hostToUnicode(std::string_view host);

}  // namespace tilvanego::detail
