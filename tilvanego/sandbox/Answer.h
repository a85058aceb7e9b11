#pragma once

#include <expected>
#include <optional>
#include <vector>

#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Outcome.h>
#include <tilvanego/sandbox/TransportFault.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::sandbox {

/// What the payment application makes of a request.
struct Decision {
  Outcome outcome = Outcome::approve;
  /// How the answer travels; nothing: as the request came. Only a payment's can travel otherwise than by URL.
  std::optional<Transport> transport = std::nullopt;
  /// What goes wrong on its way.
  std::optional<TransportFault> fault = std::nullopt;

  bool operator==(const Decision&) const = default;
};

/// The outcome that the request itself stands for: its amount decides, and what has none is approved.
[[nodiscard]] Outcome usualOutcome(const LaunchLink& link);

/// What the payment application has to say about a request: request id, status and the operation's own items,
/// in this order. Transaction ids and approval codes follow from the request, so that the same link is always
/// answered alike. `silent` says nothing, and `tampered` and `expired` say what `approve` does.
[[nodiscard]] std::vector<QueryItem> answerItems(const LaunchLink& link, Outcome outcome);

/// The callback URL with the answer: the host's own URL, its query and fragment included, and the answer's
/// items behind those that it has already. An answer by pasteboard lies there when this returns. Nothing if
/// the payment application stays silent.
///
/// Fails if the decision can't be had: `tampered`, `expired` and the faults need an answer by a transport
/// that knows them, `wrongId` a request with an id, and an answer by pasteboard a pasteboard in `ports`.
[[nodiscard]] std::expected<std::optional<URL>, SandboxError> answer(const LaunchLink& link,
                                                                     const Decision& decision,
                                                                     const HandoffPorts& ports = {});

/// The same, always in the URL's own items.
[[nodiscard]] std::expected<std::optional<URL>, SandboxError> answer(const LaunchLink& link, Outcome outcome);

}  // namespace tilvanego::sandbox
