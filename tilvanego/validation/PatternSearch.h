#pragma once

#include <string_view>

namespace tilvanego::detail {

/// Whether the regular expression (ICU's syntax) matches anywhere in the text, case-insensitively. Both are
/// UTF-8; each ill-formed sequence counts as U+FFFD. False also if the pattern is not valid, if either is
/// longer than 2^31 - 1 bytes, and if the search exceeds its limit of backtracking. Any thread may call this.
/// Each thread keeps the compiled patterns that it used last.
[[nodiscard]] bool isPatternFound(std::string_view pattern, std::string_view text);

}  // namespace tilvanego::detail
