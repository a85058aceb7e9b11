#pragma once

#include <CLI/Error.hpp>

namespace tilvanego::program {

/// The exit statuses of the program.
inline constexpr int exitDone = 0;
inline constexpr int exitFailed = 1;
inline constexpr int exitWrongUsage = 2;

/// Ends a command that has run. Throws a status other than 0, which leaves `CLI::App::parse`.
inline void endWith(int status) {
  if (status != exitDone) throw CLI::RuntimeError(status);
}

}  // namespace tilvanego::program
