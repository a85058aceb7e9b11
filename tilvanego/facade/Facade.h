#pragma once

#include <array>
#include <cstddef>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/facade/CallbackExplanation.h>
#include <tilvanego/facade/LogLevel.h>
#include <tilvanego/facade/Pending.h>
#include <tilvanego/facade/PendingOperations.h>
#include <tilvanego/facade/PendingRecords.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/platform/GuardedPlatform.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>

namespace tilvanego::detail {

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

  /// Starts an operation. The outcome is reported only by its completion: within this call if the start is
  /// refused.
  void start(const std::shared_ptr<Pending>& pending);

  [[nodiscard]] bool isInProgress(OperationKind kind) const { return slot(kind) != nullptr; }

  /// Removes the pending operation without calling its completion.
  void cancel(OperationKind kind);

  [[nodiscard]] bool isCallback(OperationKind kind, const URL& url) const;

  /// The result of the pending operation if `url` were its callback; nothing if it isn't. The operation stays
  /// pending.
  template <OperationKind kind>
  [[nodiscard]] auto result(const URL& url) const -> std::optional<typename PendingOf<kind>::Result> {
    const auto pending = slot(kind);
    if (!pending || pending->isDelivering) return std::nullopt;
    auto found = static_cast<const PendingOf<kind>&>(*pending).resultOf(URL(url), platform_,
                                                                        unsealedListener(*pending));
    if (!isPending(pending)) found.reset();
    return found;
  }

  /// Offers `url` to the pending operations in the order of `routerOrder`. Returns true if this completed one
  /// of them, or if it was kept for an interrupted one, now or before.
  [[nodiscard]] bool handleCallback(URL url);

  [[nodiscard]] std::vector<PendingOperation> pendingOperations() const;
  [[nodiscard]] std::vector<InterruptedOperation> interruptedOperations() const;
  /// Puts the oldest interrupted operation into its slot. Returns its request, or nothing if there is none,
  /// if an operation that blocks it is pending, or after `end`.
  template <OperationKind kind>
  [[nodiscard]] auto resume(typename PendingOf<kind>::Completion completion)
      -> std::optional<typename PendingOf<kind>::Request> {
    const auto id = resumable(kind);
    if (id == 0) return std::nullopt;
    const auto pending = PendingOf<kind>::resumed(*records_->find(kind, id), std::move(completion));
    if (!pending) return std::nullopt;
    std::optional<typename PendingOf<kind>::Request> request(pending->request());
    resume(pending, id);
    return request;
  }
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
  using Slot = std::shared_ptr<Pending>;

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

  [[nodiscard]] Slot& slot(OperationKind kind) { return slots_[static_cast<std::size_t>(kind)]; }
  [[nodiscard]] const Slot& slot(OperationKind kind) const { return slots_[static_cast<std::size_t>(kind)]; }
  [[nodiscard]] bool isPending(const Slot& pending) const { return slot(pending->type.kind) == pending; }
  /// Whether an operation that prevents the start of this one is pending.
  [[nodiscard]] bool isBlocked(const OperationType& type) const;

  /// Completes `pending` with a result, which is of the operation's `Result`. Returns false and calls nothing
  /// if host code has ended the operation already.
  bool finish(const Slot& pending, const void* result);
  void fail(const Slot& pending, const LaunchFailure& failure);
  /// Empties the slot of a pending operation and calls `deliver`, which calls its completion.
  template <typename Deliver>
  bool end(const Slot& pending, const Deliver& deliver);
  /// Completes an operation that is in no slot with a failure.
  void refuse(Pending& pending, const LaunchFailure& failure);

  /// Builds and opens the link of a pending operation, or completes it with the failure.
  void launchPending(const Slot& pending);
  /// Builds the link of a pending operation. An exception of a port is a failure, too.
  [[nodiscard]] std::expected<URL, LaunchFailure> builtLink(const Slot& pending);
  /// Builds the link that has every field in its query.
  [[nodiscard]] std::optional<URL> inlineLink(const Pending& pending);
  /// The link of the payment's transport.
  [[nodiscard]] std::expected<URL, LaunchFailure> paymentLink(const Slot& pending,
                                                              std::optional<URL>&& inlineURL);
  /// If the link isn't opened, `notOpened` is called in a later turn of the main queue.
  void openPaymentApp(const URL& url, OperationKind kind);
  /// Completes the operation of this kind that is pending at this time, whichever it is.
  void notOpened(OperationKind kind);

  /// Offers `url` to the pending operation of one kind.
  [[nodiscard]] Routed route(OperationKind kind, URL& url);

  /// A time for the start of an operation, read without host code: that of a `ManualClock`, or the system's
  /// in whole seconds, which costs nearly nothing.
  [[nodiscard]] Date quietNow() const;
  /// Keeps the record of a pending operation, if there is a store.
  void keepForRestart(const Slot& pending);
  /// Reads the result of a pending operation and completes it. Keeps the callback first, so that the next
  /// start of the process can deliver it if this process ends before the completion has returned. Returns
  /// false, and leaves `url` unchanged, unless it is the operation's callback. Returns false, too, if host
  /// code has ended the operation.
  bool readAndFinish(const Slot& pending, URL& url);
  /// Keeps a result of the pasteboard before it is removed from there. Empty without a record.
  [[nodiscard]] UnsealedListener unsealedListener(const Pending& pending) const;
  /// The oldest interrupted operation of the kind; 0 if there is none, or if it can't be resumed now.
  [[nodiscard]] PendingRecords::Id resumable(OperationKind kind) const;
  /// Puts the operation of a record into its slot.
  void resume(const Slot& pending, PendingRecords::Id record);
  /// Ends a resumed operation by the callback that was kept for it.
  void deliverKept(const Slot& pending);
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
  std::array<Slot, operationKinds.size()> slots_;
  /// Of the innermost completion that is running, or null.
  RecordEnd* recordEnd_ = nullptr;
  bool ended_ = false;
};

/// The request id in the items of a callback. That of a compressed or sealed result isn't there.
[[nodiscard]] std::optional<std::string> namedRequestId(const URL& callback);

}  // namespace tilvanego::detail
