#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include <tilvanego/facade/ExplainedFields.h>
#include <tilvanego/facade/PendingRecord.h>
#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/URL.h>

/// What the facade sees of an operation: nothing here depends on the types of its records. `PendingOf` knows
/// them.
namespace tilvanego::detail {

/// Why an operation ends without a callback. A `PaymentError` is of a payment alone.
struct Blocked {};
struct NotOpened {};
using LaunchFailure = std::variant<Blocked, NotOpened, cases::InvalidRequest, PaymentError>;

/// What `Facade::explain` says of a result. The names are those of its case and of its error's case.
struct ExplainedResult {
  std::string_view name;
  /// Empty unless the result is a failure.
  std::string_view error;
  std::string errorDescription;
  /// That of the response, if there is one.
  std::optional<URL> callbackURL;
  std::optional<std::string> status;
};

/// One kind of operation.
struct OperationType {
  OperationKind kind;
  OperationTexts texts;
  /// The pending operations of these kinds prevent its start: by the kind's number.
  std::array<bool, operationKinds.size()> isBlockedBy;
  bool passesOnUnmatched;
  const CallbackWords& callbackWords;
  /// The result of a pending operation if `url` were its callback, whichever its request.
  ExplainedResult (*explainedResult)(const URL& url);
  /// The record of the request that these fields make; nothing if they make none.
  std::optional<PendingRecord> (*recordFrom)(const JSONValue::Dictionary& request,
                                             const std::optional<PaymentLaunchTransport>& transport,
                                             const Date& startedAt);
};

[[nodiscard]] const OperationType& operationType(OperationKind kind);

/// What is done with a result while the caller has it. It points to the `Result` of the operation's kind.
using ResultUse = std::function<bool(const void* result)>;

/// An operation that was started and not yet finished: its request and its completion.
class Pending {
 public:
  Pending(const OperationType& operation, const std::optional<PaymentLaunchTransport>& launchedBy)
      : type(operation), transport(launchedBy) {}
  virtual ~Pending() = default;
  Pending(const Pending&) = delete;
  Pending& operator=(const Pending&) = delete;

  const OperationType& type;
  /// Of a payment alone.
  std::optional<PaymentLaunchTransport> transport;
  Date startedAt{};
  /// Its record in the pending store; 0 if it has none.
  std::uint64_t record = 0;
  /// It was resumed with its callback, which the main queue's next turn delivers: it takes no other one.
  bool isDelivering = false;

  // The request.
  /// Null if it has no id: any id is then accepted.
  [[nodiscard]] virtual const std::string* requestId() const = 0;
  [[nodiscard]] virtual const URL& callbackURL() const = 0;
  [[nodiscard]] virtual std::string describe() const = 0;
  /// Returns what is wrong with it, or nothing.
  [[nodiscard]] virtual std::optional<std::string_view> validate() const = 0;
  virtual void addItems(LinkItems& items) const = 0;
  [[nodiscard]] virtual PendingRecord toRecord() const = 0;

  // The result.
  /// Reads it from a callback and returns what `use` makes of it. Returns false, and leaves `url` unchanged,
  /// unless it is the callback of the request.
  virtual bool read(URL&& url, const Platform& platform, const UnsealedListener& unsealed,
                    const ResultUse& use) const = 0;
  /// The same, but the items of `url` are the result: no transport is looked for.
  virtual bool readItems(URL&& url, const ResultUse& use) const = 0;
  /// What `read` would pass on; nothing if `url` isn't the callback.
  [[nodiscard]] virtual std::optional<ExplainedResult> explainedResult(const URL& url,
                                                                       const Platform& platform) const = 0;

  // The completion. It is destroyed by the end of each of these.
  /// Calls it with a result, which is of the operation's `Result`.
  virtual void deliver(const void* result) = 0;
  virtual void fail(const LaunchFailure& failure) = 0;
  /// Destroys it without a call.
  virtual void dropCompletion() = 0;
};

/// A pending operation of one kind. `PendingOf.h` defines it.
template <OperationKind kind>
class PendingOf;

}  // namespace tilvanego::detail
