#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace tilvanego::detail {

/// Where a started program's standard error goes: to this process's own, or to /dev/null.
enum class StandardError { inherited, none };

/// Starts the program `words[0]`, searched in PATH, with the other words as its arguments. Standard input and
/// output are /dev/null, every descriptor above standard error is closed, and signals have their defaults.
/// Returns the process id, for which the caller must wait, or no value if the program could not be started.
[[nodiscard]] std::optional<pid_t> spawnProgram(const std::vector<std::string>& words,
                                                StandardError standardError = StandardError::inherited);

/// Waits for the end of a started program. Returns true for exit status 0, and also if the status is lost
/// since the host ignores SIGCHLD or has waited for the program itself.
[[nodiscard]] bool waitForSuccess(pid_t process);

}  // namespace tilvanego::detail
