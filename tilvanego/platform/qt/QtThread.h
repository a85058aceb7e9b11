#pragma once

#include <string_view>

namespace tilvanego::detail {

/// Ends the process, after a message that names `object`, unless there is a `QCoreApplication` and it lives
/// on the calling thread.
void requireQtMainThread(std::string_view object);

}  // namespace tilvanego::detail
