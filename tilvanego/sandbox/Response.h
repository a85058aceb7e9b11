#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/sandbox/KeySpelling.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Outcome.h>
#include <tilvanego/sandbox/TransportFault.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

/// What the payment application makes of a request.
struct Decision {
  Outcome outcome = Outcome::approve;
  /// How the answer travels; nothing: as the request came. Only a payment's can travel otherwise than by URL.
  std::optional<Transport> transport = std::nullopt;
  /// What goes wrong on its way.
  std::optional<TransportFault> fault = std::nullopt;
  /// The status, one of the outcome's `statusWords`; nothing: the usual one.
  std::optional<std::string> word = std::nullopt;
  /// How the answer's items are called.
  KeySpelling keys = KeySpelling::first;

  bool operator==(const Decision&) const = default;
};

/// The outcome that the request itself stands for: its amount decides, and what has none is approved.
[[nodiscard]] Outcome usualOutcome(const LaunchLink& link);

/// The words by which an operation's status may say an outcome, as the library knows them; none for an
/// outcome that has no status, or an unknown one. What an operation doesn't know, such as a declined refund,
/// it reads as a failure by any word.
[[nodiscard]] std::vector<std::string_view> statusWords(Operation operation, Outcome outcome);

/// What the payment application has to say about a request: request id, status and the operation's own items,
/// in this order. Transaction ids and approval codes follow from the request, so that the same link is always
/// answered alike. `silent` says nothing, and `tampered` and `expired` say what `approve` does.
/// The decision's word isn't checked.
[[nodiscard]] std::vector<QueryItem> responseItems(const LaunchLink& link, const Decision& decision);
[[nodiscard]] std::vector<QueryItem> responseItems(const LaunchLink& link, Outcome outcome);

/// The callback URL with the answer: the host's own URL, its query and fragment included, and the answer's
/// items behind those that it has already. An answer by pasteboard lies there when this returns. Nothing if
/// the payment application stays silent.
///
/// Fails if the decision can't be had: `tampered`, `expired` and the faults need an answer by a transport
/// that knows them, `wrongId` a request with an id, an answer by pasteboard a pasteboard in `ports`, and a
/// `word` must be the outcome's.
[[nodiscard]] std::expected<std::optional<URL>, SandboxError> respond(const LaunchLink& link,
                                                                      const Decision& decision,
                                                                      const HandoffPorts& ports = {});

/// The same, always in the URL's own items.
[[nodiscard]] std::expected<std::optional<URL>, SandboxError> respond(const LaunchLink& link,
                                                                      Outcome outcome);

}  // namespace sandbox
}  // namespace tilvanego
