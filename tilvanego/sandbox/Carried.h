#pragma once

#include <expected>
#include <new>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

/// Reads the payment requests that a link carries compressed or names on the pasteboard, and makes the
/// responses that a callback URL carries or names so.
namespace tilvanego::sandbox {

/// Returns the items that the link would have if it carried its request inline. `items` are those that it
/// has; `transport` must not be `url`. A request on the pasteboard stays there, unless it has expired.
[[nodiscard]] std::expected<std::vector<QueryItem>, SandboxError> carriedRequest(
    const URL& link, Transport transport, const std::vector<QueryItem>& items, const HandoffPorts& ports);

/// Returns the items of the callback URL that carries the response compressed.
[[nodiscard]] std::expected<std::vector<QueryItem>, SandboxError> compressedResponse(
    const LaunchLink& link, const Decision& decision, const HandoffPorts& ports);

/// Replaces everything on the pasteboard by the response, and returns the items of the callback URL that
/// names it.
[[nodiscard]] std::expected<std::vector<QueryItem>, SandboxError> sealedResponse(const LaunchLink& link,
                                                                                 const Decision& decision,
                                                                                 const HandoffPorts& ports);

/// The transports that an answer with the outcome, or with the fault, can travel by.
[[nodiscard]] std::span<const Transport> transportsOf(Outcome outcome);
[[nodiscard]] std::span<const Transport> transportsOf(TransportFault fault);

/// "gzip or pasteboard".
[[nodiscard]] std::string listed(std::span<const Transport> transports);

[[nodiscard]] inline std::unexpected<SandboxError> wrong(std::string message) {
  return std::unexpected(SandboxError{std::move(message)});
}

/// Calls `work`, which uses the ports, and returns its result. An exception of a port is a failure.
template <typename Work>
[[nodiscard]] std::invoke_result_t<Work> guarded(Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    // Short enough to need no memory of its own.
    return wrong("out of memory");
  } catch (...) {
    return wrong("the clock or the random source of this sandbox threw an exception");
  }
}

}  // namespace tilvanego::sandbox
