#pragma once

#include <cstddef>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include <tilvanego/facade/CallbackExplanation.h>
#include <tilvanego/facade/LogLevel.h>
#include <tilvanego/facade/Pending.h>
#include <tilvanego/facade/PendingOperations.h>
#include <tilvanego/facade/PendingRecords.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/Operations.h>
#include <tilvanego/platform/GuardedPlatform.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/transports/PaymentTransports.h>
#include <tilvanego/values/Wiping.h>

/// FacadeRecords.h defines the templates that need a pending store, and includes OperationTransport.h;
/// whoever instantiates a template includes it.
namespace tilvanego::detail {

/// Builds an operation's link and reads its callbacks.
template <typename Operation>
struct OperationTransport;

/// Starts all operations, keeps the pending ones and routes callbacks to them: each operation has one slot.
/// Used on the main thread only, without a lock. `TilvaneGo` and the calls in progress own it; the functions
/// that the platform calls back hold weak pointers to it.
///
/// Every call of a port, of the logger or of a completion runs host code, and so does the destruction of what
/// these captured. Host code may call any function of this class: it may end operations, start others, or end
/// the instance. Therefore three rules hold. A slot is emptied before its completion is called. A function
/// owns what it uses after a call of host code. And after such a call it completes only the operation that it
/// began with, if that is still pending.
class Facade : public std::enable_shared_from_this<Facade> {
 public:
  /// Ends the process if a port is missing.
  explicit Facade(Platform platform);

  /// Removes all pending operations without calling their completions, and the logger. No operation starts
  /// after this. The pending store keeps their records, as at the end of the process.
  void end();

  [[nodiscard]] TilvaneLogger logger() const { return logger_ ? *logger_ : TilvaneLogger(); }
  void setLogger(TilvaneLogger logger);

  [[nodiscard]] const WeakMainQueue& mainQueue() const { return mainQueue_; }
  [[nodiscard]] Timer& timer() const { return *platform_.timer; }

  /// Ends the process if this isn't the main thread, with a message that names `operation`: a call from
  /// another thread would be a data race.
  void requireMainThread(std::string_view operation) const;

  /// Starts `Operation`. `launch` has the further arguments of `OperationTransport<Operation>::link`. The
  /// outcome is reported only by `completion`: within this call if the start is refused.
  template <typename Operation, typename... Launch>
  void start(typename Operation::Request request, Completion<Operation> completion, Launch... launch);

  template <typename Operation>
  [[nodiscard]] bool isInProgress() const {
    return slot<Operation>() != nullptr;
  }

  /// Removes the pending operation without calling its completion.
  template <typename Operation>
  void cancel() {
    const auto record = slot<Operation>() ? slot<Operation>()->record : 0;
    // What it captured ends after the record.
    const auto dropped = take<Operation>();
    if (record != 0) dropRecord(Operation::kind, record);
  }

  template <typename Operation>
  [[nodiscard]] bool isCallback(const URL& url) const {
    const auto& pending = slot<Operation>();
    return (pending && !pending->isDelivering && callbackURLsMatch(url, pending->request.callbackURL())) ||
           interruptedAt(Operation::kind, url) != nullptr;
  }

  /// The result of the pending operation if `url` were its callback; nothing if it isn't. The operation stays
  /// pending.
  template <typename Operation>
  [[nodiscard]] std::optional<typename Operation::Result> result(URL url) const;

  /// Offers `url` to the pending operations in the order of `ranks`. Returns true if this completed one of
  /// them, or if it was kept for an interrupted one, now or before.
  [[nodiscard]] bool handleCallback(URL url);

  [[nodiscard]] std::vector<PendingOperation> pendingOperations() const;
  [[nodiscard]] std::vector<InterruptedOperation> interruptedOperations() const;
  /// Puts the oldest interrupted operation into its slot. Returns its request, or nothing if there is none,
  /// if an operation that blocks it is pending, or after `end`.
  template <typename Operation>
  [[nodiscard]] std::optional<typename Operation::Request> resume(Completion<Operation> completion);
  /// Drops the record of the oldest interrupted operation. Returns false if there is none.
  bool forgetInterrupted(OperationKind kind);
  /// What `handleCallback` would do with `url`. Changes nothing, logs nothing and keeps the pasteboard,
  /// except that the pending store is read by the first call of all.
  [[nodiscard]] CallbackExplanation explain(const URL& url) const;

  /// For a completion that only passes the result on, in a later turn: takes the record of the operation that
  /// it ends, whose end is then the caller's task (`dropRecord`, `leaveRecord`). To be called before anything
  /// else. Returns 0 if there is none. `pendingOperations` has it until `passRecordOn`.
  [[nodiscard]] PendingRecords::Id takeEndingRecord(OperationKind kind);
  /// The turn of a taken record has come.
  void passRecordOn(OperationKind kind, PendingRecords::Id record);
  /// Removes a record, if there is one.
  void dropRecord(OperationKind kind, PendingRecords::Id record) noexcept;
  /// Leaves a record, if there is one, as that of an interrupted operation: nobody received the result.
  void leaveRecord(OperationKind kind, PendingRecords::Id record) noexcept;

 private:
  /// A pending operation is identified by its address, which is unique as long as a function holds this
  /// pointer.
  template <typename Operation>
  using Slot = std::shared_ptr<Pending<Operation>>;
  using Slots = decltype([]<std::size_t... index>(std::index_sequence<index...>) {
    return std::tuple<Slot<OperationOf<operationKinds[index]>>...>();
  }(std::make_index_sequence<operationKinds.size()>()));
  using OpenFailure = void (Facade::*)();

  /// Removes a record when it is destroyed, that is, when a completion has returned.
  class RecordEnd {
   public:
    RecordEnd(Facade& facade, OperationKind kind, PendingRecords::Id record)
        : facade_(facade), outer_(std::exchange(facade.recordEnd_, this)), kind_(kind), record_(record) {}
    RecordEnd(const RecordEnd&) = delete;
    RecordEnd& operator=(const RecordEnd&) = delete;
    ~RecordEnd() {
      facade_.recordEnd_ = outer_;
      facade_.dropRecord(kind_, record_);
    }

    [[nodiscard]] PendingRecords::Id release() { return std::exchange(record_, 0); }

   private:
    Facade& facade_;
    RecordEnd* outer_;
    OperationKind kind_;
    PendingRecords::Id record_;
  };

  enum class Routed { goOn, finished, refused };
  /// Offers `url` to the pending operation of one kind.
  using Rank = Routed (Facade::*)(URL& url);

  template <typename>
  friend struct OperationTransport;

  template <typename Operation>
  [[nodiscard]] Slot<Operation>& slot() {
    return std::get<Slot<Operation>>(slots_);
  }
  template <typename Operation>
  [[nodiscard]] const Slot<Operation>& slot() const {
    return std::get<Slot<Operation>>(slots_);
  }

  template <typename... Blockers>
  [[nodiscard]] bool isAnyInProgress(OperationList<Blockers...>) const {
    return (isInProgress<Blockers>() || ...);
  }

  /// Empties the slot and returns the completion, which the caller then owns.
  template <typename Operation>
  [[nodiscard]] Completion<Operation> take();

  /// Completes `pending` with a result. Returns false and calls nothing if host code has ended the operation
  /// already.
  template <typename Operation>
  bool finish(const Slot<Operation>& pending, const typename Operation::Result& result);

  /// Builds and opens the link of a pending operation, or completes it with the failure.
  template <typename Operation, typename... Launch>
  void launchPending(const Slot<Operation>& pending, const Launch&... launch);
  /// Builds the link of a pending operation. An exception of a port is a failure, too.
  template <typename Operation, typename... Launch>
  [[nodiscard]] std::expected<URL, typename Operation::Error> builtLink(const Slot<Operation>& pending,
                                                                        const Launch&... launch);
  /// Builds the link that has every field in its query.
  template <typename Operation>
  [[nodiscard]] std::expected<URL, typename Operation::Error> inlineLink(const Slot<Operation>& pending);
  /// `failed` is called in a later turn of the main queue if the link isn't opened.
  void openPaymentApp(const URL& url, OpenFailure failed);
  /// Completes the operation of this type that is pending at this time, whichever it is.
  template <typename Operation>
  void notOpened();

  template <typename Operation>
  [[nodiscard]] Routed route(URL& url);
  template <OperationKind kind>
  [[nodiscard]] Routed offer(URL& url) {
    return route<OperationOf<kind>>(url);
  }
  /// One function for each kind, in the order in which they are offered a callback.
  [[nodiscard]] static consteval auto ranks();

  /// A time for the start of an operation, read without host code: that of a `ManualClock`, or the system's
  /// in whole seconds, which costs nearly nothing.
  [[nodiscard]] Date quietNow() const;
  /// Keeps the record of a pending operation, if there is a store.
  template <typename Operation>
  void keepForRestart(const Slot<Operation>& pending);
  /// Reads the result of a pending operation. Keeps the callback first, so that the next start of the process
  /// can deliver it if this process ends before the completion has returned. Returns nothing, and leaves
  /// `url` unchanged, unless it is the operation's callback.
  template <typename Operation>
  [[nodiscard]] std::optional<typename Operation::Result> readAndKeep(const Slot<Operation>& pending,
                                                                      URL& url);
  /// Keeps a result of the pasteboard before it is removed from there. Empty without a record.
  [[nodiscard]] UnsealedListener unsealedListener(OperationKind kind, PendingRecords::Id record) const;
  /// Ends a resumed operation by the callback that was kept for it.
  template <typename Operation>
  void deliverKept(const Slot<Operation>& pending);
  /// The oldest interrupted operation that waits for a callback with this URL, or null. Valid until the next
  /// call of host code.
  [[nodiscard]] const PendingRecord* interruptedAt(OperationKind kind, const URL& url) const;
  /// The interrupted operation whose callback `url` is.
  [[nodiscard]] std::optional<PendingRecords::Taker> interruptedTaker(const URL& url) const;
  /// The record of the payment, pending or interrupted, that can read the result which `url` has compressed
  /// or on the pasteboard: only its request id tells whose it is. 0 if none can, or if there is no choice.
  [[nodiscard]] PendingRecords::Id readerOf(const URL& url) const;
  /// Keeps `url` for the interrupted operation whose callback it is. Returns false if there is none.
  [[nodiscard]] bool keptForInterrupted(const URL& url);
  /// The callback that would have carried the result on the pasteboard which `url` names; nothing if that
  /// isn't one of this payment. The pasteboard stays as it is.
  [[nodiscard]] std::optional<URL> unsealedCallback(PendingRecords::Id record, const URL& url) const;

  void debugLine(const std::string& text) { platform_.debugOutput->writeLine(text); }
  void log(TilvaneLogLevel level, std::string_view message);

  Platform platform_;
  /// Weak: the host's queue may be a local variable of `main`, while this object lives until the process
  /// ends.
  WeakMainQueue mainQueue_;
  /// The platform's clock if it is one, which no host code runs in; else null.
  const ManualClock* manualClock_;
  /// Null without a pending store.
  std::unique_ptr<PendingRecords> records_;
  std::shared_ptr<const TilvaneLogger> logger_;
  Slots slots_;
  /// Of the innermost completion that is running, or null.
  RecordEnd* recordEnd_ = nullptr;
  bool ended_ = false;
};

/// The request id in the items of a callback. That of a compressed or sealed result isn't there.
[[nodiscard]] std::optional<std::string> namedRequestId(const URL& callback);

/// The transport that a start was given; nothing for the operations that have only one.
[[nodiscard]] inline std::optional<PaymentLaunchTransport> transportOf() { return std::nullopt; }
[[nodiscard]] inline std::optional<PaymentLaunchTransport> transportOf(
    const PaymentLaunchTransport& transport) {
  return transport;
}

/// A failure that no callback caused.
template <typename Operation>
[[nodiscard]] typename Operation::Result failureWithoutResponse(typename Operation::Error error) {
  return typename Operation::Result::Failure{std::move(error), std::nullopt};
}

template <typename Operation>
Completion<Operation> Facade::take() {
  const Slot<Operation> taken = std::exchange(slot<Operation>(), nullptr);
  return taken ? std::exchange(taken->completion, nullptr) : nullptr;
}

template <typename Operation>
bool Facade::finish(const Slot<Operation>& pending, const typename Operation::Result& result) {
  if (slot<Operation>() != pending) return false;
  // Also if the completion throws: it has run.
  const RecordEnd recordEnd(*this, Operation::kind, pending->record);
  // The slot is empty by now: the completion may start the same operation again.
  if (const auto completion = take<Operation>()) completion(result);
  return true;
}

template <typename Operation, typename... Launch>
void Facade::start(typename Operation::Request request, Completion<Operation> completion, Launch... launch) {
  const auto refuse = [&](typename Operation::Error error) {
    // Another completion may be running, whose record this one must not take.
    const RecordEnd none(*this, Operation::kind, 0);
    if (completion) completion(failureWithoutResponse<Operation>(std::move(error)));
  };
  debugLine(std::string(Operation::texts.sending) + Operation::describe(request) + "]");
  (debugLine("Sending Transport - [" + launch.text() + "]"), ...);
  if (ended_) return;
  if (isAnyInProgress(typename BlockersOf<Operation>::List{}))
    return refuse(typename Operation::InProgress{});
  if (const auto message = Operation::validate(request)) {
    return refuse(cases::InvalidRequest{std::string(*message)});
  }
  const auto pending = std::make_shared<Pending<Operation>>(std::move(request), std::move(completion),
                                                            quietNow(), transportOf(launch...));
  slot<Operation>() = pending;
  try {
    launchPending<Operation>(pending, launch...);
  } catch (...) {
    // There is no memory even for a failure. What the completion throws leaves with an empty slot.
    if (slot<Operation>() == pending) cancel<Operation>();
    throw;
  }
}

template <typename Operation, typename... Launch>
void Facade::launchPending(const Slot<Operation>& pending, const Launch&... launch) {
  auto url = builtLink<Operation>(pending, launch...);
  const WipedAtEnd wiped(url);
  if (!url) {
    finish<Operation>(pending, failureWithoutResponse<Operation>(url.error()));
    return;
  }
  // Host code may have ended the operation, here and below; then no link is opened.
  if (slot<Operation>() == pending) log(TilvaneLogLevel::info, Operation::texts.opening);
  if (slot<Operation>() == pending) keepForRestart<Operation>(pending);
  if (slot<Operation>() == pending) openPaymentApp(*url, &Facade::notOpened<Operation>);
}

template <typename Operation, typename... Launch>
std::expected<URL, typename Operation::Error> Facade::builtLink(const Slot<Operation>& pending,
                                                                const Launch&... launch) try {
  return OperationTransport<Operation>::link(*this, pending, launch...);
} catch (...) {
  // An exception of a port, or a failed allocation.
  return std::unexpected(cases::InvalidRequest{buildFailure(Operation::kind)});
}

template <typename Operation>
std::expected<URL, typename Operation::Error> Facade::inlineLink(const Slot<Operation>& pending) {
  LinkItems items;
  Operation::addItems(pending->request, items);
  auto url = writeLink(Operation::texts.target, items.items());
  const WipedAtEnd wiped(url);
  debugLine(std::string(Operation::texts.urlLabel) + redactedURLText(url));
  if (!url) return std::unexpected(cases::InvalidRequest{buildFailure(Operation::kind)});
  return *std::move(url);
}

template <typename Operation>
void Facade::notOpened() {
  const auto pending = slot<Operation>();
  if (!pending || pending->isDelivering) return;
  finish<Operation>(pending, failureWithoutResponse<Operation>(typename Operation::AppNotInstalled{}));
}

template <typename Operation>
std::optional<typename Operation::Result> Facade::result(URL url) const {
  const auto pending = slot<Operation>();
  if (!pending || pending->isDelivering) return std::nullopt;
  auto found = OperationTransport<Operation>::read(std::move(url), pending->request, platform_,
                                                   unsealedListener(Operation::kind, pending->record));
  if (slot<Operation>() != pending) found.reset();
  return found;
}

template <typename Operation>
Facade::Routed Facade::route(URL& url) {
  const auto pending = slot<Operation>();
  if (!pending || pending->isDelivering) return Routed::goOn;
  if (const auto found = readAndKeep<Operation>(pending, url); found && finish<Operation>(pending, *found)) {
    return Routed::finished;
  }
  log(TilvaneLogLevel::warning, unmatchedCallback(Operation::kind));
  return passesOnUnmatched<Operation> ? Routed::goOn : Routed::refused;
}

}  // namespace tilvanego::detail
