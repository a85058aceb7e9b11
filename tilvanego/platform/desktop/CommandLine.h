#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace [[gnu::visibility("default")]] tilvanego {

/// Splits a command line, `prog --flag "two words"`, into the program and its arguments without a shell:
/// nothing is expanded or substituted.
///
/// Words are separated by spaces, tabs and line ends. Within single quotes every character stands for itself;
/// within double quotes so does every character but a backslash before `"` or `\`; elsewhere a backslash
/// makes the next character stand for itself. Quotes may stand inside a word, and make an empty word.
///
/// No value for a quote that isn't closed, a backslash at the end, a NUL character, or a line without any
/// word.
[[nodiscard]] std::optional<std::vector<std::string>> splitCommandLine(std::string_view line);

}  // namespace tilvanego
