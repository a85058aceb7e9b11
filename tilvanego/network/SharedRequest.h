#pragma once

#include <memory>

#include <tilvanego/network/URLSessionProtocol.h>

namespace tilvanego::detail {

/// Returns a task of the session for a request that nobody changes meanwhile. A `URLSession` holds the
/// pointer, in place of a copy of the request, until the completion runs. Any other session might hold it for
/// longer, with all that it keeps alive, and gets the request itself.
[[nodiscard]] std::shared_ptr<URLSessionDataTaskProtocol> dataTaskSharing(
    URLSessionProtocol& session, const std::shared_ptr<const URLRequest>& request,
    DataTaskCompletion completionHandler);

}  // namespace tilvanego::detail
