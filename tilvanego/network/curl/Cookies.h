#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include <curl/curl.h>

#include <tilvanego/network/HTTPCookie.h>

namespace tilvanego::detail {

/// Parses a cookie in the form in which libcurl lists it: seven fields with tabs between them. No value for
/// any other text.
[[nodiscard]] std::optional<HTTPCookie> cookieFrom(std::string_view line);

/// Returns the cookies of the handles that use `share`. Throws std::bad_alloc if memory is short.
[[nodiscard]] std::vector<HTTPCookie> cookiesOf(CURLSH* share);

/// Deletes them.
void deleteCookies(CURLSH* share);

}  // namespace tilvanego::detail
