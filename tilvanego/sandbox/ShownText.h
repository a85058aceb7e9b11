#pragma once

#include <string>
#include <string_view>

/// Text of others for a terminal, which would obey the controls in it.
namespace tilvanego::sandbox {

/// UTF-8 text with the controls of both sets escaped, as in "\u{1B}".
[[nodiscard]] std::string shown(std::string_view text);

/// The same in double quotes.
[[nodiscard]] inline std::string quoted(std::string_view text) { return '"' + shown(text) + '"'; }

}  // namespace tilvanego::sandbox
