#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace [[gnu::visibility("default")]] tilvanego {

/// Splits a command line, `prog --flag "two words"`, into the program and its arguments, without a shell.
/// Nothing is expanded or substituted.
///
/// Spaces, tabs and line ends separate words. Single quotes: every character between them is literal. Double
/// quotes: a backslash escapes `"` and `\`; every other character is literal. Elsewhere a backslash makes the
/// next character literal. Quotes may begin inside a word. Quotes with nothing between them make an empty
/// word.
///
/// Returns no value for an unclosed quote, a backslash at the end, a NUL character, or a line without a word.
[[nodiscard]] std::optional<std::vector<std::string>> splitCommandLine(std::string_view line);

}  // namespace tilvanego
