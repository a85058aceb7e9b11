#pragma once

#include <expected>
#include <vector>

#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

/// Requests that a payment's link carries compressed, or only names.
namespace tilvanego::sandbox {

/// The items that the link would have if it carried its request in them. `items` are those that it has,
/// and `transport` isn't `url`. A request on the pasteboard stays there, unless it has expired.
[[nodiscard]] std::expected<std::vector<QueryItem>, SandboxError> carriedRequest(
    const URL& link, Transport transport, const std::vector<QueryItem>& items, const HandoffPorts& ports);

}  // namespace tilvanego::sandbox
