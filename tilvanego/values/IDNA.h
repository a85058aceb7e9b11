#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Internationalised host names (UTS #46, non-transitional), from and to their ASCII form of RFC 5891.
namespace tilvanego::detail {

/// The ASCII form of `host`, which is UTF-8 with some character beyond ASCII: case folded, each such label
/// "xn--…". No value for what has none, and for a host of more than 1,024 bytes, since the conversion takes
/// quadratic time.
[[nodiscard]] std::optional<std::string> hostToASCII(std::string_view host);

/// The Unicode form of an ASCII `host` that has an "xn--" label. No value where there is no such label, where
/// a label is no valid encoding, and beyond 1,024 bytes.
[[nodiscard]] std::optional<std::string> hostToUnicode(std::string_view host);

}  // namespace tilvanego::detail
