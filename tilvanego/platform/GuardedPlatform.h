#pragma once

#include <tilvanego/platform/Platform.h>

/// How the ports of a host are taken into the library.
namespace tilvanego::detail {

/// Ends the process, after one line on standard error that names the member, if one is null that may not be.
void requireWholePlatform(const Platform& platform);

/// The same platform, with ports between which the library can go on whatever the host's do: a debug output
/// that throws is reported and otherwise left alone, a random source that throws fails, and a pasteboard that
/// throws, or is null, holds nothing and keeps nothing. No pasteboard is null afterwards.
///
/// The clock and the application stay as they are: an instant has no failure to stand for an exception, and
/// an open request fails later than it is made. Who calls them takes care.
[[nodiscard]] Platform guardedPlatform(Platform platform);

}  // namespace tilvanego::detail
