#pragma once

#include <string_view>

#include <tilvanego/values/Support.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// Ends the process (SIGABRT) after the line `URLSessionImplementations: Fatal error: MESSAGE` on standard
/// error. For a programming error, such as a body type that cannot be sent.
[[noreturn]] void fatalError(std::string_view message);

/// Ends the process (SIGABRT) after the line `TilvaneGo: MESSAGE`. For a wrong call; the message explains how
/// to correct it.
[[noreturn]] void wrongUse(std::string_view message);

}  // namespace support
}  // namespace tilvanego
