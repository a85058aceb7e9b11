#pragma once

#include <string_view>

namespace tilvanego {
class WeakMainQueue;
}

namespace tilvanego::detail {

/// Ends the process, after one line on standard error that names `operation`, unless it is called on the
/// thread of `queue`. A call from another thread is a programming error and would be a data race.
void requireMainThread(const WeakMainQueue& queue, std::string_view operation);

}  // namespace tilvanego::detail
