#pragma once

#include <CLI/Error.hpp>

namespace tilvanego::program {

/// What a command leaves the program with.
inline constexpr int exitDone = 0;
inline constexpr int exitFailed = 1;
inline constexpr int exitWrongUsage = 2;

/// Called last in a command that has run: `CLI::App::parse` gives another status than 0 by throwing it.
inline void endWith(int status) {
  if (status != exitDone) throw CLI::RuntimeError(status);
}

}  // namespace tilvanego::program
