#pragma once

#include <expected>
#include <type_traits>

#include <tilvanego/sandbox/LaunchLink.h>

namespace tilvanego::sandbox {

/// Calls `work`, which uses the ports, and returns its result. An exception of a port is a failure.
template <typename Work>
[[nodiscard]] std::invoke_result_t<Work> guarded(Work work) {
  try {
    return work();
  } catch (...) {
    return std::unexpected(SandboxError{"the clock or the random source of this sandbox threw an exception"});
  }
}

}  // namespace tilvanego::sandbox
