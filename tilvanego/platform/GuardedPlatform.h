#pragma once

#include <tilvanego/platform/Platform.h>

/// Protects the library from the ports of a host.
namespace tilvanego::detail {

/// Ends the process, after one line on standard error that names the member, if a member is null that must
/// not be null.
void requireWholePlatform(const Platform& platform);

/// Returns the platform with its ports wrapped, so that they do not throw: the exception of a debug output is
/// dropped after one line on standard error, a random source or a pending store that throws fails, and a
/// pasteboard that throws, or is null, is empty and keeps nothing. A null timer is replaced by the system's.
/// Of the result only the pending store may be null.
///
/// The clock, the application and the timer are not wrapped: they cannot return a failure. Their callers
/// handle their exceptions.
[[nodiscard]] Platform guardedPlatform(Platform platform);

}  // namespace tilvanego::detail
