#pragma once

#include <string_view>

#include <tilvanego/network/TransportError.h>

namespace tilvanego::detail {

/// Converts a `CURLcode` of a transfer to an error for the host. `detail` is the text of libcurl's error
/// buffer. It may be empty; it isn't shown where it might contain a password.
[[nodiscard]] TransportError transportError(int curlCode, std::string_view detail);

}  // namespace tilvanego::detail
