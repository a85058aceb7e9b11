#pragma once

#include <expected>
#include <functional>
#include <map>
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

/// What the payment application does with a request.
struct Decision {
  Outcome outcome = Outcome::approve;
  /// The transport of the response; nothing: that of the request. Only the response to a payment may have
  /// another transport than `url`.
  std::optional<Transport> transport = std::nullopt;
  /// The fault of the transport; nothing: none.
  std::optional<TransportFault> fault = std::nullopt;
  /// The status, one of the `statusWords` of operation and outcome; nothing: the usual word.
  std::optional<std::string> word = std::nullopt;
  /// The spelling of the item names.
  KeySpelling keys = KeySpelling::first;
  /// Values in place of the usual ones, by the first spelling of the item's name: "error_message". Only items
  /// that the response has, other than request id and status, are replaced.
  std::map<std::string, std::string, std::less<>> values = {};

  bool operator==(const Decision&) const = default;
};

/// The outcome by the request's amount: see `outcomeForAmount`. A request without an amount is approved.
[[nodiscard]] Outcome usualOutcome(const LaunchLink& link);

/// The status words that the library accepts for an outcome of an operation. None for an outcome without a
/// status, or with an unknown one. If the operation has no result for the outcome, such as a declined refund,
/// the library reads each of the words as a failure.
[[nodiscard]] std::vector<std::string_view> statusWords(Operation operation, Outcome outcome);

/// Returns the items of the response: request id, status and the items of the operation, in this order.
/// Transaction ids and approval codes depend only on the request: the same link always gets the same
/// response. `silent` has no items; `tampered` and `expired` have those of `approve`. The decision's word
/// isn't checked.
[[nodiscard]] std::vector<QueryItem> responseItems(const LaunchLink& link, const Decision& decision);
[[nodiscard]] std::vector<QueryItem> responseItems(const LaunchLink& link, Outcome outcome);

/// Returns the callback URL with the response: the host's URL with its query and fragment, and the items of
/// the response after those of its query. A response by pasteboard is put there before this returns. Returns
/// nothing if the outcome is `silent`.
///
/// Fails if the decision is impossible: `tampered`, `expired` and the faults each need certain transports,
/// `wrongId` needs a request with an id, a response by pasteboard needs a pasteboard in `ports`, and `word`
/// must be one of the outcome's `statusWords`.
[[nodiscard]] std::expected<std::optional<URL>, SandboxError> respond(const LaunchLink& link,
                                                                      const Decision& decision,
                                                                      const HandoffPorts& ports = {});

/// The same, always with the items in the URL.
[[nodiscard]] std::expected<std::optional<URL>, SandboxError> respond(const LaunchLink& link,
                                                                      Outcome outcome);

}  // namespace sandbox
}  // namespace tilvanego
