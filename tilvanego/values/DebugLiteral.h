#pragma once

#include <string>
#include <string_view>

namespace tilvanego {

/// The text as a double-quoted literal with backslash escapes, for debug output: it can't end the line or the
/// literal that holds it. Escaped are backslash, both quotes, the ASCII controls (`\0`, `\t`, `\n`, `\r`,
/// else `\u{..}`), and every mark or joiner that would otherwise attach itself to the opening quote or to an
/// escape before it. Other characters stay as they are, so the result is UTF-8; each ill-formed sequence of
/// the text (its maximal subpart) becomes U+FFFD.
[[nodiscard]] std::string debugLiteral(std::string_view text);

}  // namespace tilvanego
