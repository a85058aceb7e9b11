#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "Kinds.h"

namespace tilvanego::program {

/// Reads one line of a script. Returns its action, without running it, or one sentence that says what is
/// wrong and what to mend. The line may have any bytes and any length.
[[nodiscard]] std::expected<HostAction, std::string> readScriptLine(std::string_view line);

}  // namespace tilvanego::program
