#pragma once

#include <filesystem>

namespace tilvanego::detail {

/// The user's directory for what lives as long as the session: below `$XDG_RUNTIME_DIR`, else below
/// /run/user, else in /tmp. It may not exist.
[[nodiscard]] std::filesystem::path runtimeDirectory();

}  // namespace tilvanego::detail
