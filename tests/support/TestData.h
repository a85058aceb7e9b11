#pragma once

#include <string>
#include <string_view>

namespace tilvanego::test {

/// The absolute path of a file below tests/data/, by its path there.
[[nodiscard]] std::string testDataPath(std::string_view relative);

}  // namespace tilvanego::test
