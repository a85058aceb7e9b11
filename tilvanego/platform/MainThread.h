#pragma once

#include <string_view>

namespace tilvanego {
class MainQueue;
}

namespace tilvanego::detail {

/// Terminates the process, after one line on standard error that names `operation`, unless the calling thread
/// is the one of `queue`. A call from elsewhere is a fault of the program, and going on would race.
void requireMainThread(const MainQueue& queue, std::string_view operation);

}  // namespace tilvanego::detail
