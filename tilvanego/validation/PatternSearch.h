#pragma once

#include <string_view>

namespace tilvanego::detail {

/// Whether the regular expression of ICU's syntax is found anywhere in the text, without regard to case.
/// Both are UTF-8; each ill-formed sequence stands for U+FFFD. False also if the pattern isn't valid, if
/// either is longer than 2^31 - 1 bytes, and if the search takes more steps back or more memory for them than
/// it is worth. Any thread may call this; each keeps the patterns that it used last.
[[nodiscard]] bool isPatternFound(std::string_view pattern, std::string_view text);

}  // namespace tilvanego::detail
