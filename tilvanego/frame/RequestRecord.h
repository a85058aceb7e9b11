#pragma once

#include <optional>
#include <string>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/frame/RecordFields.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The base class of requests: an immutable value of `Fields`, which can be checked and shown before it is
/// started. Any thread may call these functions.
///
/// ```cpp
/// #include <tilvanego/operations/Reboot.h>
/// #include <tilvanego/values/Literals.h>
///
/// const RebootRequest request({.requestId = " ", .callbackURL = "myshop://rebooted"_url});
/// const std::optional<std::string> mistake = request.validate();  // "Request ID is required."
/// ```
template <OperationKind kind, typename Fields>
class RequestRecord : public ImmutableRecord<Fields> {
 public:
  using ImmutableRecord<Fields>::ImmutableRecord;

  /// Returns the message of the `invalidRequest` with which a start of this request would fail, or nothing if
  /// its fields are right. Starts nothing and writes no line. Doesn't check whether an operation of this kind
  /// is pending, nor what only the start can know: whether the link can be built and opened.
  [[nodiscard]] std::optional<std::string> validate() const;

  /// The request in one line for the host's own log: `RebootRequest(requestId: "B-1", callbackURL:
  /// myshop://rebooted)`. So a request and its fields write themselves to a stream, too. Texts are literals
  /// in quotes with escapes, so that none can end the line or look like another field. Token and notes are
  /// "present" or "nil", and the callback URL shows no secret (see `URL`). The debug line of a start has the
  /// texts and the callback URL as they are.
  [[nodiscard]] std::string description() const;
};

}  // namespace tilvanego
