#pragma once

#include <filesystem>
#include <string_view>

namespace tilvanego::detail {

/// The user's directory for what lives as long as the session: below `$XDG_RUNTIME_DIR`, else below
/// /run/user, else in /tmp. It may not exist.
[[nodiscard]] std::filesystem::path runtimeDirectory();

/// Returns true for a name that can be a part of a path: not empty, no ".", "..", "/" or NUL.
[[nodiscard]] bool isPlainName(std::string_view name);

}  // namespace tilvanego::detail
