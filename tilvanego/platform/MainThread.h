#pragma once

#include <string_view>

namespace tilvanego {
class WeakMainQueue;
}

namespace tilvanego::detail {

/// Terminates the process, after one line on standard error that names `operation`, unless the calling thread
/// is the one of `queue`. A call from elsewhere is a fault of the program, and going on would race.
void requireMainThread(const WeakMainQueue& queue, std::string_view operation);

}  // namespace tilvanego::detail
