#pragma once

#include <string_view>

namespace tilvanego::detail {

/// Ends the process (SIGABRT) after the line `URLSessionImplementations: Fatal error: MESSAGE` on standard
/// error. For a fault of the program that no answer could mend, such as a body type that can't be sent.
[[noreturn]] void fatalError(std::string_view message);

/// The same after the line `TilvaneGo: MESSAGE`, for a call that makes no sense. The message says what to
/// mend.
[[noreturn]] void wrongUse(std::string_view message);

}  // namespace tilvanego::detail
