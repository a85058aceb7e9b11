#pragma once

#include <expected>
#include <vector>

#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/values/QueryItem.h>

/// Answers that a callback URL carries compressed, or only names. Each function gives the items of the
/// callback URL.
namespace tilvanego::sandbox {

[[nodiscard]] std::expected<std::vector<QueryItem>, SandboxError> compressedResponse(
    const LaunchLink& link, const Decision& decision, const HandoffPorts& ports);

/// Replaces everything on the pasteboard by the answer.
[[nodiscard]] std::expected<std::vector<QueryItem>, SandboxError> sealedResponse(const LaunchLink& link,
                                                                                 const Decision& decision,
                                                                                 const HandoffPorts& ports);

}  // namespace tilvanego::sandbox
