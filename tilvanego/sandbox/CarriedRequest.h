#pragma once

#include <expected>
#include <vector>

#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

/// Reads the payment requests that a link carries compressed or names on the pasteboard.
namespace tilvanego::sandbox {

/// Returns the items that the link would have if it carried its request inline. `items` are those that it
/// has; `transport` must not be `url`. A request on the pasteboard stays there, unless it has expired.
[[nodiscard]] std::expected<std::vector<QueryItem>, SandboxError> carriedRequest(
    const URL& link, Transport transport, const std::vector<QueryItem>& items, const HandoffPorts& ports);

}  // namespace tilvanego::sandbox
