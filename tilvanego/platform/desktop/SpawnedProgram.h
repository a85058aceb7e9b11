#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace tilvanego::detail {

/// Starts the program `words[0]`, looked up in PATH, with the other words as its arguments: standard input
/// and output at /dev/null, standard error kept, every other descriptor closed, signals as in a fresh
/// process. Gives the process's id, which the caller waits for, or no value if the program couldn't be
/// started.
[[nodiscard]] std::optional<pid_t> spawnProgram(const std::vector<std::string>& words);

/// Waits for the end of a started program. True for exit status 0, and where the status is lost since the
/// host ignores SIGCHLD or has waited for the program itself.
[[nodiscard]] bool waitForSuccess(pid_t process);

}  // namespace tilvanego::detail
