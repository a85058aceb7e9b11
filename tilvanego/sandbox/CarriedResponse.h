#pragma once

#include <expected>
#include <vector>

#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/values/QueryItem.h>

/// Makes the responses that a callback URL carries compressed or names on the pasteboard. Each function
/// returns the items of the callback URL.
namespace tilvanego::sandbox {

[[nodiscard]] std::expected<std::vector<QueryItem>, SandboxError> compressedResponse(
    const LaunchLink& link, const Decision& decision, const HandoffPorts& ports);

/// Replaces everything on the pasteboard by the response.
[[nodiscard]] std::expected<std::vector<QueryItem>, SandboxError> sealedResponse(const LaunchLink& link,
                                                                                 const Decision& decision,
                                                                                 const HandoffPorts& ports);

}  // namespace tilvanego::sandbox
