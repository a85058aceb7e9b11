#pragma once

#include <functional>
#include <string_view>

#include <tilvanego/json/CodingKeys.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The importance of a log message, in ascending order.
enum class TilvaneLogLevel { debug, info, warning, error };

template <>
inline constexpr bool json::namesAreTexts<TilvaneLogLevel> = true;

/// Called with each message of the library, on the main thread, during the operation that causes it. The text
/// is valid during the call. No message holds a credential, a payload or card data.
///
/// May call the library: if it cancels the operation whose link is about to be opened, the link isn't opened.
/// May throw: it only listens, so the exception is dropped after one line on standard error.
using TilvaneLogger = std::function<void(TilvaneLogLevel level, std::string_view message)>;

}  // namespace tilvanego
