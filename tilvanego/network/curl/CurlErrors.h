#pragma once

#include <string_view>

#include <tilvanego/network/TransportError.h>

namespace tilvanego::detail {

/// What a `CURLcode` of a transfer means to the host. `detail` is the text of libcurl's error buffer, which
/// may be empty, and which isn't shown where it might hold a password.
[[nodiscard]] TransportError transportError(int curlCode, std::string_view detail);

}  // namespace tilvanego::detail
