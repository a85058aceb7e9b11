#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "Kinds.h"

namespace tilvanego::program {

/// Reads one line of a script, without doing anything: what it stands for, or one sentence that says what is
/// wrong with it and what to mend. Takes any bytes of any length.
[[nodiscard]] std::expected<HostAction, std::string> readScriptLine(std::string_view line);

}  // namespace tilvanego::program
