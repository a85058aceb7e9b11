#pragma once

#include <string_view>

namespace tilvanego::detail {

/// Returns true for a name that can be one part of a path: not empty, no ".", "..", "/" or NUL.
[[nodiscard]] constexpr bool isPlainName(std::string_view name) {
  using namespace std::string_view_literals;
  return !name.empty() && name != "." && name != ".." && name.find_first_of("/\0"sv) == name.npos;
}

}  // namespace tilvanego::detail
