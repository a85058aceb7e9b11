#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/network/TransportError.h>
#include <tilvanego/network/URLRequest.h>

namespace tilvanego::detail {

/// Checks the request before any part of it is sent.
[[nodiscard]] std::expected<void, TransportError> checkRequest(const URLRequest& request);

/// The next request after a response with this status. `field` is its "Location" field as sent, `target` the
/// absolute URL that libcurl made of it, empty if it made none. Returns none if the response isn't a redirect
/// that can be followed, and an error for a redirect that must not be followed.
[[nodiscard]] std::expected<std::optional<URLRequest>, TransportError> redirectedRequest(
    const URLRequest& request, int statusCode, std::string_view field, std::string_view target);

}  // namespace tilvanego::detail
