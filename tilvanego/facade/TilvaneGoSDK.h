#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/facade/LogLevel.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/operations/Records.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/values/URL.h>

namespace tilvanego {

namespace detail {
class Facade;
struct FacadeAccess;
}  // namespace detail

/// The one object through which a host drives the payment application.
///
/// A host starts an operation, the payment application does its work and opens the host's callback URL, the
/// host hands that URL to `handleCallback`, and the completion gets the typed result. An operation's outcome
/// comes through its completion alone: no start returns a value or throws.
///
/// *Threads.* All operations but the static parsers are bound to the main thread, the one that drains the
/// main queue; a call from another thread ends the process with a message. Completions and the logger run on
/// that thread, from within the call that causes them; whether a link was opened is told on the main queue,
/// after the start has returned.
///
/// *State.* At most one operation of each kind is pending, in memory alone. There is no time-out: it waits
/// for its callback, a link that isn't opened, or a cancel. A completion runs once, or never after a cancel.
///
/// *Host code.* Completions, the logger, the platform's ports, and the destructors of what they captured may
/// call anything here, and may throw. An operation's slot is empty before any of it hears of its end; one
/// that is cancelled before its link is opened isn't opened; and what was read for an operation is told to no
/// other. What a completion throws leaves by the call that ran it: a start, `handleCallback`, or the main
/// queue's drain. docs/platform.md says what else may throw, and what happens then.
class TilvaneGo final {
 public:
  /// The instance, made on first use and kept as long as the process.
  [[nodiscard]] static TilvaneGo& shared();

  /// Replaces what the host's system does for the library, before the first use of `shared`; afterwards it
  /// ends the process, and so does a platform with a port missing. Without it, `Platform::standard` is used.
  static void usePlatform(Platform platform);

  TilvaneGo(const TilvaneGo&) = delete;
  TilvaneGo& operator=(const TilvaneGo&) = delete;

  /// Hears the messages at `info` and `warning`; none at first. A logger may replace itself from within a
  /// call.
  [[nodiscard]] TilvaneLogger logger() const;
  void setLogger(TilvaneLogger logger);

  /// Offers a URL that the system handed to the host. True if it finished a pending operation, also with a
  /// failure; false, and a warning is logged, if it is no pending operation's. Takes any URL.
  bool handleCallback(const URL& url);

  /// Gets the result, which is valid during the call. Called on the main thread, when the slot is empty; may
  /// throw, as told above. May be empty: the outcome is then told to nobody.
  using PaymentCompletion = std::function<void(const PaymentResult& result)>;

  /// Starts a payment by an inline link, whatever its length.
  void startPayment(PaymentRequest request, PaymentCompletion completion);
  /// Starts a payment by the given transport. A form that can't be built ends the payment at once, by
  /// `urlPayloadTooLarge` if a compressed link would be too long, by `pasteboardHandoffUnavailable`, after a
  /// warning that says why, if the pasteboard doesn't keep it, else by `invalidRequest`; `automatic` goes on
  /// to the next form instead. The pasteboard transport replaces what lies on the pasteboard.
  void startPayment(PaymentRequest request, const PaymentLaunchTransport& transport,
                    PaymentCompletion completion);
  /// An older entry, of texts alone and by an inline link: a payment without tip and credentials, for which
  /// the reader must be ready. `amount` is a decimal number with a point, as "12.50"; `type` is the text of a
  /// `PaymentTransactionType` in any case. An empty `customId` and empty `notes` are left out. A text that
  /// means nothing is told by `invalidRequest`, even while another payment is pending.
  void sendRequest(std::string requestId, const std::string& amount, const std::string& type,
                   std::string currency, const std::string& returnUrl, std::string customId,
                   std::string notes, PaymentCompletion completion);
  [[nodiscard]] bool isPaymentInProgress() const;
  /// Forgets the pending payment; its completion is dropped without being called. A report that the payment
  /// application isn't there, if it comes after this, ends a payment that was started since: see
  /// `Application::openURL`.
  void cancelPendingPayment();
  /// Whether `url` is the callback URL of the pending payment, whatever its query says.
  [[nodiscard]] bool isPaymentCallback(const URL& url) const;
  /// What `url` means for the pending payment, which stays pending. Nothing if none is pending or the URL
  /// isn't its. A result that came by the pasteboard is consumed: asked a second time, the same URL means
  /// that it is missing.
  [[nodiscard]] std::optional<PaymentResult> paymentResult(const URL& url) const;
  /// Reads a payment's callback. Nothing if it differs from `expectedCallbackURL` in scheme, host or path.
  /// Takes any URL, on any thread.
  [[nodiscard]] static std::optional<PaymentResult> parsePaymentResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  // The eight other operations have the same six functions each, which say and do what the payment's do.

  using InitializationCompletion = std::function<void(const InitializationResult& result)>;

  /// Asks the payment application to prepare itself for this host.
  void initialize(InitializationRequest request, InitializationCompletion completion);
  [[nodiscard]] bool isInitializationInProgress() const;
  void cancelPendingInitialization();
  [[nodiscard]] bool isInitializationCallback(const URL& url) const;
  [[nodiscard]] std::optional<InitializationResult> initializationResult(const URL& url) const;
  [[nodiscard]] static std::optional<InitializationResult> parseInitializationResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using TransactionListCompletion = std::function<void(const TransactionListResult& result)>;

  /// Asks for the stored transactions.
  void getTransactionList(TransactionListRequest request, TransactionListCompletion completion);
  [[nodiscard]] bool isTransactionListInProgress() const;
  void cancelPendingTransactionList();
  [[nodiscard]] bool isTransactionListCallback(const URL& url) const;
  [[nodiscard]] std::optional<TransactionListResult> transactionListResult(const URL& url) const;
  [[nodiscard]] static std::optional<TransactionListResult> parseTransactionListResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using FullRefundCompletion = std::function<void(const FullRefundResult& result)>;

  /// Asks for the whole of a transaction back. Refused while a refund of either kind is pending.
  void fullRefund(FullRefundRequest request, FullRefundCompletion completion);
  [[nodiscard]] bool isFullRefundInProgress() const;
  void cancelPendingFullRefund();
  [[nodiscard]] bool isFullRefundCallback(const URL& url) const;
  [[nodiscard]] std::optional<FullRefundResult> fullRefundResult(const URL& url) const;
  [[nodiscard]] static std::optional<FullRefundResult> parseFullRefundResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using PartialRefundCompletion = std::function<void(const PartialRefundResult& result)>;

  /// Asks for a part of a transaction back. Refused while a refund of either kind is pending.
  void partialRefund(PartialRefundRequest request, PartialRefundCompletion completion);
  [[nodiscard]] bool isPartialRefundInProgress() const;
  void cancelPendingPartialRefund();
  [[nodiscard]] bool isPartialRefundCallback(const URL& url) const;
  [[nodiscard]] std::optional<PartialRefundResult> partialRefundResult(const URL& url) const;
  [[nodiscard]] static std::optional<PartialRefundResult> parsePartialRefundResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using CaptureCompletion = std::function<void(const CaptureResult& result)>;

  /// Settles an earlier authorization.
  void capture(CaptureRequest request, CaptureCompletion completion);
  [[nodiscard]] bool isCaptureInProgress() const;
  void cancelPendingCapture();
  [[nodiscard]] bool isCaptureCallback(const URL& url) const;
  [[nodiscard]] std::optional<CaptureResult> captureResult(const URL& url) const;
  [[nodiscard]] static std::optional<CaptureResult> parseCaptureResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using ClearDataCompletion = std::function<void(const ClearDataResult& result)>;

  /// Asks for a card's clear data.
  void clearData(ClearDataRequest request, ClearDataCompletion completion);
  [[nodiscard]] bool isClearDataInProgress() const;
  void cancelPendingClearData();
  [[nodiscard]] bool isClearDataCallback(const URL& url) const;
  [[nodiscard]] std::optional<ClearDataResult> clearDataResult(const URL& url) const;
  [[nodiscard]] static std::optional<ClearDataResult> parseClearDataResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using RebootCompletion = std::function<void(const RebootResult& result)>;

  /// Asks for a restart of the card reader.
  void reboot(RebootRequest request, RebootCompletion completion);
  [[nodiscard]] bool isRebootInProgress() const;
  void cancelPendingReboot();
  [[nodiscard]] bool isRebootCallback(const URL& url) const;
  [[nodiscard]] std::optional<RebootResult> rebootResult(const URL& url) const;
  [[nodiscard]] static std::optional<RebootResult> parseRebootResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

  using SaveCompletion = std::function<void(const SaveResult& result)>;

  /// Stores a card with the payment application.
  void save(SaveRequest request, SaveCompletion completion);
  [[nodiscard]] bool isSaveInProgress() const;
  void cancelPendingSave();
  [[nodiscard]] bool isSaveCallback(const URL& url) const;
  [[nodiscard]] std::optional<SaveResult> saveResult(const URL& url) const;
  [[nodiscard]] static std::optional<SaveResult> parseSaveResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

 private:
  friend struct detail::FacadeAccess;
  explicit TilvaneGo(Platform platform);
  ~TilvaneGo();

  /// The facade behind a public operation, which is named if it is called from another thread than the main
  /// one. The caller keeps it: what the operation calls may end this.
  [[nodiscard]] std::shared_ptr<detail::Facade> on(std::string_view operation) const;

  std::shared_ptr<detail::Facade> facade_;
};

}  // namespace tilvanego
