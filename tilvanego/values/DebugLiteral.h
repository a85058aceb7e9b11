#pragma once

#include <string>
#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {

/// Returns the text as a double-quoted literal with backslash escapes, for debug output. No text can end the
/// line or the literal. Escaped are: backslash, both quotes, the ASCII controls (`\0`, `\t`, `\n`, `\r`,
/// else `\u{..}`), and each combining mark or joiner that follows the opening quote or an escape, since it
/// would attach to it. Other characters are kept. Each ill-formed sequence (maximal subpart) becomes U+FFFD,
/// so the result is UTF-8.
[[nodiscard]] std::string debugLiteral(std::string_view text);

}  // namespace tilvanego
