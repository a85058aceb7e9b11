#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/facade/CallbackExplanation.h>
#include <tilvanego/facade/LogLevel.h>
#include <tilvanego/facade/OperationWaiting.h>
#include <tilvanego/facade/PendingOperations.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/operations/Records.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::detail {
class Facade;
struct FacadeAccess;
}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// The object through which a host drives the payment application.
///
/// A host starts an operation. The payment application does its work and opens the host's callback URL. The
/// host passes that URL to `handleCallback`, and the completion receives the typed result. The completion
/// alone receives the outcome: no start function returns a value or throws. One case remains: without memory
/// even for an error, std::bad_alloc leaves the start; no completion is then called, and nothing is pending.
///
/// *Threads.* Call all functions but the static parsers on the main thread: the thread that drains the main
/// queue. A call from another thread ends the process with a message. Completions and the logger run on the
/// main thread, inside the call that causes them. Whether a link was opened is reported on the main queue,
/// after the start function has returned.
///
/// *State.* At most one operation of each kind is pending. It is kept in memory, and by the platform's
/// `PendingStore`, if it has one, for the next start of the process. There is no time-out but that of an
/// awaited operation: an operation waits for its callback, for the report that its link wasn't opened, or for
/// a cancel. A completion runs once; after a cancel it never runs.
///
/// *Host code.* Completions, the logger, the platform's ports, and the destructors of what they captured may
/// call any function here, and may throw. Before such code runs, the slot of a finished operation is empty.
/// An operation that is cancelled before its link is opened is not opened. A result is delivered only to the
/// operation for which it was read. An exception of a completion leaves by the call that ran the completion:
/// a start function, `handleCallback`, or the drain of the main queue. docs/platform.md lists what else may
/// throw, and what happens then.
class TilvaneGo final {
 public:
  /// The instance. It is created on first use and lives as long as the process.
  [[nodiscard]] static TilvaneGo& shared();

  /// Sets the platform that `shared` uses; the default is `Platform::standard`. Call it before the first use
  /// of `shared`: a later call, or a platform without one of its required ports, ends the process with a
  /// message. So does `shared` itself without a platform in a library that has no `Platform::standard`.
  static void usePlatform(Platform platform);

  TilvaneGo(const TilvaneGo&) = delete;
  TilvaneGo& operator=(const TilvaneGo&) = delete;

  /// The callback that receives the log messages, of the levels `info` and `warning`. The default is none. A
  /// logger may replace itself while it runs.
  [[nodiscard]] TilvaneLogger logger() const;
  void setLogger(TilvaneLogger logger);

  /// Handles a URL with which the system opened the host; any URL is allowed. Returns true if the URL
  /// finished a pending operation, with a success or a failure, or if it was kept for an interrupted one, now
  /// or before. Returns false and logs a warning if it belongs to none.
  bool handleCallback(const URL& url);

  /// Says what `handleCallback` would do with a URL, and why: for "the completion never runs", and for "the
  /// customer paid, the till says failed". Any URL is allowed. Changes nothing, logs nothing, and completes
  /// nothing; a result on the pasteboard is read and stays there. Only if it is the first call of a process
  /// that has a pending store, that store is read, which may log and set a text aside. Much slower than
  /// `handleCallback`: for people, not for each callback.
  [[nodiscard]] CallbackExplanation explainCallback(const URL& url) const;

  /// Receives the result; the reference is valid during the call. Called on the main thread, after the
  /// operation's slot was emptied. May throw, see above. May be empty: the outcome is then dropped.
  using PaymentCompletion = std::function<void(const PaymentResult& result)>;

  /// Starts a payment by an inline link of any length.
  void startPayment(PaymentRequest request, PaymentCompletion completion);
  /// Starts a payment by the given transport. If the link can't be built, the payment fails at once: with
  /// `urlPayloadTooLarge` if a compressed link would be too long; with `pasteboardHandoffUnavailable`, after
  /// a warning with the reason, if the pasteboard doesn't keep the request; otherwise with `invalidRequest`.
  /// The transport `automatic` tries the next form instead. The transport `pasteboard` replaces the
  /// pasteboard's contents.
  void startPayment(PaymentRequest request, const PaymentLaunchTransport& transport,
                    PaymentCompletion completion);
  /// Starts a payment from texts, by an inline link: the older way. The payment has no tip and no
  /// credentials, and the card reader must be ready. `amount` is a decimal number with a point, as "12.50".
  /// `type` is the raw text of a `PaymentTransactionType`, case-insensitively. An empty `customId` and empty
  /// `notes` are left out. A text that can't be read fails with `invalidRequest`, even while another payment
  /// is pending.
  void sendRequest(std::string requestId, const std::string& amount, const std::string& type,
                   std::string currency, const std::string& returnUrl, std::string customId,
                   std::string notes, PaymentCompletion completion);
  [[nodiscard]] bool isPaymentInProgress() const;
  /// Cancels the pending payment: its completion is destroyed and not called. The payment application isn't
  /// told: the customer may still pay. If the system reports the old
  /// link as not opened after a new payment was started, that report ends the new payment: see
  /// `Application::openURL`.
  void cancelPendingPayment();
  /// Whether `url` is the callback URL of the pending payment, or of an interrupted one that waits for its
  /// callback. Its query is ignored.
  [[nodiscard]] bool isPaymentCallback(const URL& url) const;
  /// Returns the result that `url` holds for the pending payment, which stays pending; nothing if no payment
  /// is pending or the URL isn't its callback. A result on the pasteboard is removed from there: a second
  /// call with the same URL returns a failure.
  [[nodiscard]] std::optional<PaymentResult> paymentResult(const URL& url) const;
  /// Reads the callback of a payment; any URL is allowed, on any thread. Returns nothing if `url` differs
  /// from `expectedCallbackURL` in scheme, host or path.
  [[nodiscard]] static std::optional<PaymentResult> parsePaymentResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  // The eight other operations have the same six functions each.

  using InitializationCompletion = std::function<void(const InitializationResult& result)>;

  /// Prepares the payment application for this host.
  void initialize(InitializationRequest request, InitializationCompletion completion);
  [[nodiscard]] bool isInitializationInProgress() const;
  void cancelPendingInitialization();
  [[nodiscard]] bool isInitializationCallback(const URL& url) const;
  [[nodiscard]] std::optional<InitializationResult> initializationResult(const URL& url) const;
  [[nodiscard]] static std::optional<InitializationResult> parseInitializationResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using TransactionListCompletion = std::function<void(const TransactionListResult& result)>;

  /// Requests the stored transactions.
  void getTransactionList(TransactionListRequest request, TransactionListCompletion completion);
  [[nodiscard]] bool isTransactionListInProgress() const;
  void cancelPendingTransactionList();
  [[nodiscard]] bool isTransactionListCallback(const URL& url) const;
  [[nodiscard]] std::optional<TransactionListResult> transactionListResult(const URL& url) const;
  [[nodiscard]] static std::optional<TransactionListResult> parseTransactionListResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using FullRefundCompletion = std::function<void(const FullRefundResult& result)>;

  /// Refunds a transaction in full. Fails while a refund of either kind is pending.
  void fullRefund(FullRefundRequest request, FullRefundCompletion completion);
  [[nodiscard]] bool isFullRefundInProgress() const;
  void cancelPendingFullRefund();
  [[nodiscard]] bool isFullRefundCallback(const URL& url) const;
  [[nodiscard]] std::optional<FullRefundResult> fullRefundResult(const URL& url) const;
  [[nodiscard]] static std::optional<FullRefundResult> parseFullRefundResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using PartialRefundCompletion = std::function<void(const PartialRefundResult& result)>;

  /// Refunds a part of a transaction. Fails while a refund of either kind is pending.
  void partialRefund(PartialRefundRequest request, PartialRefundCompletion completion);
  [[nodiscard]] bool isPartialRefundInProgress() const;
  void cancelPendingPartialRefund();
  [[nodiscard]] bool isPartialRefundCallback(const URL& url) const;
  [[nodiscard]] std::optional<PartialRefundResult> partialRefundResult(const URL& url) const;
  [[nodiscard]] static std::optional<PartialRefundResult> parsePartialRefundResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using CaptureCompletion = std::function<void(const CaptureResult& result)>;

  /// Captures an earlier authorization.
  void capture(CaptureRequest request, CaptureCompletion completion);
  [[nodiscard]] bool isCaptureInProgress() const;
  void cancelPendingCapture();
  [[nodiscard]] bool isCaptureCallback(const URL& url) const;
  [[nodiscard]] std::optional<CaptureResult> captureResult(const URL& url) const;
  [[nodiscard]] static std::optional<CaptureResult> parseCaptureResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using ClearDataCompletion = std::function<void(const ClearDataResult& result)>;

  /// Requests the clear data of a card.
  void clearData(ClearDataRequest request, ClearDataCompletion completion);
  [[nodiscard]] bool isClearDataInProgress() const;
  void cancelPendingClearData();
  [[nodiscard]] bool isClearDataCallback(const URL& url) const;
  [[nodiscard]] std::optional<ClearDataResult> clearDataResult(const URL& url) const;
  [[nodiscard]] static std::optional<ClearDataResult> parseClearDataResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using RebootCompletion = std::function<void(const RebootResult& result)>;

  /// Restarts the card reader.
  void reboot(RebootRequest request, RebootCompletion completion);
  [[nodiscard]] bool isRebootInProgress() const;
  void cancelPendingReboot();
  [[nodiscard]] bool isRebootCallback(const URL& url) const;
  [[nodiscard]] std::optional<RebootResult> rebootResult(const URL& url) const;
  [[nodiscard]] static std::optional<RebootResult> parseRebootResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using SaveCompletion = std::function<void(const SaveResult& result)>;

  /// Stores a card in the payment application.
  void save(SaveRequest request, SaveCompletion completion);
  [[nodiscard]] bool isSaveInProgress() const;
  void cancelPendingSave();
  [[nodiscard]] bool isSaveCallback(const URL& url) const;
  [[nodiscard]] std::optional<SaveResult> saveResult(const URL& url) const;
  [[nodiscard]] static std::optional<SaveResult> parseSaveResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  /// The operations that wait for their callbacks (`PendingOperation`), in the order in which they are
  /// offered one.
  [[nodiscard]] std::vector<PendingOperation> pendingOperations() const;

  // What follows needs `Platform::pendingStore`; without one, nothing is kept and nothing is found. An
  // operation is kept before its link is opened, without its credentials and notes, and removed when its
  // completion has returned, when the coroutine that awaits it came back from its resumption with the result,
  // or when it is cancelled. If the process ends before that, the next one finds it: it is interrupted.
  // `handleCallback` keeps the callback of an interrupted operation and returns true. An
  // interrupted operation blocks no start. docs/surviving-a-restart.md describes what this promises.

  /// The operations that an earlier process left, or a destroyed coroutine, and that were neither resumed nor
  /// forgotten: in the order of the router, the oldest of a kind first.
  [[nodiscard]] std::vector<InterruptedOperation> interruptedOperations() const;

  /// Makes the oldest interrupted payment the pending one, as if the process had never ended, and returns its
  /// request: without credentials and notes; required credentials are blank. If its callback has come
  /// already, the completion runs on the main queue's next turn, and no other callback is taken. Returns
  /// nothing, and destroys the
  /// completion, if no payment is interrupted or one is pending.
  std::optional<PaymentRequest> resumePayment(PaymentCompletion completion);
  /// Drops the oldest interrupted payment, with its callback. Returns false if there is none.
  bool forgetInterruptedPayment();

  // The same for the eight other operations. A refund isn't resumed while a refund of either kind is pending.

  std::optional<InitializationRequest> resumeInitialization(InitializationCompletion completion);
  bool forgetInterruptedInitialization();
  std::optional<TransactionListRequest> resumeTransactionList(TransactionListCompletion completion);
  bool forgetInterruptedTransactionList();
  std::optional<FullRefundRequest> resumeFullRefund(FullRefundCompletion completion);
  bool forgetInterruptedFullRefund();
  std::optional<PartialRefundRequest> resumePartialRefund(PartialRefundCompletion completion);
  bool forgetInterruptedPartialRefund();
  std::optional<CaptureRequest> resumeCapture(CaptureCompletion completion);
  bool forgetInterruptedCapture();
  std::optional<ClearDataRequest> resumeClearData(ClearDataCompletion completion);
  bool forgetInterruptedClearData();
  std::optional<RebootRequest> resumeReboot(RebootCompletion completion);
  bool forgetInterruptedReboot();
  std::optional<SaveRequest> resumeSave(SaveCompletion completion);
  bool forgetInterruptedSave();

  // Each operation may be awaited instead: without a completion, these return a task with the result.
  //
  // The operation starts when the task is awaited, and the coroutine goes on in a later turn of the main
  // queue, never inside the await or `handleCallback`. A refused start is a result, a `Failure`, as for a
  // completion.
  //
  // If the operation is cancelled, by the token of `waiting`, by `cancelPending…` or at the end of this
  // object, the await throws `CancellationError`; after the time-out of `waiting` it throws
  // `OperationTimedOut`. Then the operation isn't pending any more, but the payment application wasn't told.
  // If the result came before the stop took effect on the main queue, the await returns the result. A task
  // that is destroyed while it waits cancels its operation. No other operation is ever cancelled. If the main
  // queue is destroyed, the coroutine never goes on; it ends with its task.
  //
  // An operation isn't started if a stop was requested before it, even by `Timer::after`, or if
  // `Timer::after` throws; the await then throws what `Timer::after` did. A stop that is requested within the
  // start, by a logger or another port, takes effect in a later turn of the main queue: the link may then be
  // open.
  Task<PaymentResult> startPayment(PaymentRequest request,
                                   OperationWaiting waiting = OperationWaiting::untilItEnds());
  Task<PaymentResult> startPayment(PaymentRequest request, const PaymentLaunchTransport& transport,
                                   OperationWaiting waiting = OperationWaiting::untilItEnds());
  Task<InitializationResult> initialize(InitializationRequest request,
                                        OperationWaiting waiting = OperationWaiting::untilItEnds());
  Task<TransactionListResult> getTransactionList(TransactionListRequest request,
                                                 OperationWaiting waiting = OperationWaiting::untilItEnds());
  Task<FullRefundResult> fullRefund(FullRefundRequest request,
                                    OperationWaiting waiting = OperationWaiting::untilItEnds());
  Task<PartialRefundResult> partialRefund(PartialRefundRequest request,
                                          OperationWaiting waiting = OperationWaiting::untilItEnds());
  Task<CaptureResult> capture(CaptureRequest request,
                              OperationWaiting waiting = OperationWaiting::untilItEnds());
  Task<ClearDataResult> clearData(ClearDataRequest request,
                                  OperationWaiting waiting = OperationWaiting::untilItEnds());
  Task<RebootResult> reboot(RebootRequest request,
                            OperationWaiting waiting = OperationWaiting::untilItEnds());
  Task<SaveResult> save(SaveRequest request, OperationWaiting waiting = OperationWaiting::untilItEnds());

 private:
  friend struct detail::FacadeAccess;
  explicit TilvaneGo(Platform platform);
  ~TilvaneGo();

  /// Returns the facade for a public function. On another thread than the main one it ends the process with a
  /// message that names the function. The caller holds the pointer: what the facade calls may end this
  /// object.
  [[nodiscard]] std::shared_ptr<detail::Facade> on(std::string_view operation) const;

  std::shared_ptr<detail::Facade> facade_;
};

}  // namespace tilvanego
