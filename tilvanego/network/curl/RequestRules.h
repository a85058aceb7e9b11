#pragma once

#include <expected>
#include <optional>
#include <string>

#include <tilvanego/network/TransportError.h>
#include <tilvanego/network/URLRequest.h>

namespace tilvanego::detail {

/// Whether the request can be sent as it is; nothing in it reaches the wire before.
[[nodiscard]] std::expected<void, TransportError> checkRequest(const URLRequest& request);

/// Whether sending the request twice does no more than sending it once (RFC 9110, section 9.2.2).
[[nodiscard]] bool isIdempotent(const std::string& method);

/// The request that follows an answer with this status and location, an absolute URL; none if the answer is
/// no redirect that can be followed.
[[nodiscard]] std::expected<std::optional<URLRequest>, TransportError> redirectedRequest(
    const URLRequest& request, int statusCode, const std::string& location);

}  // namespace tilvanego::detail
