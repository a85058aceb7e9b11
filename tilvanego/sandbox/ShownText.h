#pragma once

#include <string>
#include <string_view>

/// Escapes text from outside for a terminal, which would execute the control characters in it.
namespace tilvanego::sandbox {

/// Escapes the control characters (C0 and C1) of UTF-8 text, as in "\u{1B}".
[[nodiscard]] std::string shown(std::string_view text);

/// The same in double quotes.
[[nodiscard]] inline std::string inQuotes(std::string_view text) { return '"' + shown(text) + '"'; }

}  // namespace tilvanego::sandbox
