#pragma once

#include <expected>
#include <new>
#include <type_traits>

#include <tilvanego/sandbox/LaunchLink.h>

namespace tilvanego::sandbox {

/// Calls `work`, which uses the ports, and returns its result. An exception of a port is a failure.
template <typename Work>
[[nodiscard]] std::invoke_result_t<Work> guarded(Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    // Short enough to need no memory of its own.
    return std::unexpected(SandboxError{"out of memory"});
  } catch (...) {
    return std::unexpected(SandboxError{"the clock or the random source of this sandbox threw an exception"});
  }
}

}  // namespace tilvanego::sandbox
