#pragma once

#include <expected>
#include <string>

#include <tilvanego/sandbox/RehearsalScript.h>

namespace tilvanego::program {

/// Reads a rehearsal's script. Fails with a reason that begins with the path, as one line, if the path is no
/// regular file or a symbolic link, if the file is too large, or if it is no script. Follows no link and
/// waits for nothing.
[[nodiscard]] std::expected<sandbox::RehearsalScript, std::string> readScriptFile(const std::string& path);

}  // namespace tilvanego::program
