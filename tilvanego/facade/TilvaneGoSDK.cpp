#include <tilvanego/facade/TilvaneGoSDK.h>

#include <utility>

#include <tilvanego/facade/Facade.h>
#include <tilvanego/facade/FacadeAccess.h>
#include <tilvanego/facade/FreshInstance.h>
#include <tilvanego/facade/PendingOf.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using namespace detail;

/// The platform of a host that brings none.
template <bool exists = hasDesktopAdapters>
Platform platformOfTheSystem() {
  if constexpr (exists) {
    return Platform::standard<exists>();
  } else {
    detail::wrongUse(
        "this library was built without the desktop's adapters: call TilvaneGo::usePlatform before "
        "the first use of TilvaneGo::shared().");
  }
}

/// The platform that `usePlatform` sets, until `shared` takes it.
struct SharedPlatform {
  std::optional<Platform> given;
  bool taken = false;

  static SharedPlatform& instance() {
    // Never destroyed: the host's ports may use objects that ended with `main`.
    static SharedPlatform& one = *new SharedPlatform;
    return one;
  }

  Platform take() {
    taken = true;
    return given ? *std::exchange(given, std::nullopt) : platformOfTheSystem();
  }
};

template <OperationKind kind>
auto parse(URL url, const std::optional<std::string>& expectedRequestId,
           const std::optional<URL>& expectedCallbackURL) {
  return PendingOf<kind>::resultOfItems(std::move(url), expectedRequestId ? &*expectedRequestId : nullptr,
                                        expectedCallbackURL ? &*expectedCallbackURL : nullptr);
}

std::unexpected<PaymentError> refused(std::string message) {
  return std::unexpected<PaymentError>(cases::InvalidRequest{std::move(message)});
}

std::optional<std::string> presentUnlessEmpty(std::string text) {
  return text.empty() ? std::nullopt : std::optional(std::move(text));
}

/// The request of `sendRequest`. Doesn't check it otherwise: its start does.
std::expected<PaymentRequest, PaymentError> paymentRequestFromTexts(
    std::string requestId, const std::string& amount, const std::string& type, std::string currency,
    const std::string& returnUrl, std::string customId, std::string notes) {
  const auto number = Decimal::parse(amount);
  if (!number) return refused("Amount must be a decimal value.");
  const auto transactionType = fromRawText<PaymentTransactionType>(lowercased(type));
  if (!transactionType) return refused("Unsupported transaction type: " + type + ".");
  auto callbackURL = URL::parse(returnUrl);
  if (!callbackURL) return refused("Return URL is invalid.");
  return PaymentRequest({.requestId = std::move(requestId),
                         .amount = *number,
                         .transactionType = *transactionType,
                         .currency = std::move(currency),
                         .callbackURL = *std::move(callbackURL),
                         .customId = presentUnlessEmpty(std::move(customId)),
                         .notes = presentUnlessEmpty(std::move(notes)),
                         .credentials = std::nullopt,
                         .requiresReaderReady = true});
}

}  // namespace

TilvaneGo::TilvaneGo(Platform platform) : facade_(std::make_shared<detail::Facade>(std::move(platform))) {}

TilvaneGo::~TilvaneGo() { facade_->end(); }

void detail::FacadeAccess::end(const TilvaneGo& instance) { instance.facade_->end(); }

TilvaneGo& TilvaneGo::shared() {
  if (const FreshInstance* const fresh = FreshInstance::innermost()) return **fresh;
  // Never destroyed: the platform may call back until the process has ended.
  static TilvaneGo& instance = *new TilvaneGo(SharedPlatform::instance().take());
  return instance;
}

void TilvaneGo::usePlatform(Platform platform) {
  auto& shared = SharedPlatform::instance();
  if (shared.taken) {
    detail::wrongUse("usePlatform must be called before the first use of TilvaneGo::shared().");
  }
  detail::requireWholePlatform(platform);
  // The earlier platform is destroyed after the new one is stored, since its ports may call this function.
  const std::optional<Platform> replaced = std::exchange(shared.given, std::move(platform));
}

std::shared_ptr<detail::Facade> TilvaneGo::on(std::string_view operation) const {
  facade_->requireMainThread(operation);
  return facade_;
}

TilvaneLogger TilvaneGo::logger() const { return on("logger")->logger(); }
void TilvaneGo::setLogger(TilvaneLogger logger) { on("setLogger")->setLogger(std::move(logger)); }

bool TilvaneGo::handleCallback(const URL& url) { return on("handleCallback")->handleCallback(url); }
CallbackExplanation TilvaneGo::explainCallback(const URL& url) const {
  return on("explainCallback")->explain(url);
}

void TilvaneGo::startPayment(PaymentRequest request, PaymentCompletion completion) {
  startPayment(std::move(request), PaymentLaunchTransport::urlScheme(), std::move(completion));
}
void TilvaneGo::startPayment(PaymentRequest request, const PaymentLaunchTransport& transport,
                             PaymentCompletion completion) {
  on("startPayment")
      ->start(PendingOf<OperationKind::payment>::make(std::move(request), std::move(completion), transport));
}
void TilvaneGo::sendRequest(std::string requestId, const std::string& amount, const std::string& type,
                            std::string currency, const std::string& returnUrl, std::string customId,
                            std::string notes, PaymentCompletion completion) {
  const auto facade = on("sendRequest");
  auto request = paymentRequestFromTexts(std::move(requestId), amount, type, std::move(currency), returnUrl,
                                         std::move(customId), std::move(notes));
  if (!request) {
    if (completion) completion(PendingOf<OperationKind::payment>::failure(std::move(request).error()));
    return;
  }
  facade->start(PendingOf<OperationKind::payment>::make(*std::move(request), std::move(completion),
                                                        PaymentLaunchTransport::urlScheme()));
}
bool TilvaneGo::isPaymentInProgress() const {
  return on("isPaymentInProgress")->isInProgress(OperationKind::payment);
}
void TilvaneGo::cancelPendingPayment() { on("cancelPendingPayment")->cancel(OperationKind::payment); }
bool TilvaneGo::isPaymentCallback(const URL& url) const {
  return on("isPaymentCallback")->isCallback(OperationKind::payment, url);
}
std::optional<PaymentResult> TilvaneGo::paymentResult(const URL& url) const {
  return on("paymentResult")->result<OperationKind::payment>(url);
}
std::optional<PaymentResult> TilvaneGo::parsePaymentResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<OperationKind::payment>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::initialize(InitializationRequest request, InitializationCompletion completion) {
  on("initialize")
      ->start(PendingOf<OperationKind::initialization>::make(std::move(request), std::move(completion)));
}
bool TilvaneGo::isInitializationInProgress() const {
  return on("isInitializationInProgress")->isInProgress(OperationKind::initialization);
}
void TilvaneGo::cancelPendingInitialization() {
  on("cancelPendingInitialization")->cancel(OperationKind::initialization);
}
bool TilvaneGo::isInitializationCallback(const URL& url) const {
  return on("isInitializationCallback")->isCallback(OperationKind::initialization, url);
}
std::optional<InitializationResult> TilvaneGo::initializationResult(const URL& url) const {
  return on("initializationResult")->result<OperationKind::initialization>(url);
}
std::optional<InitializationResult> TilvaneGo::parseInitializationResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<OperationKind::initialization>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::getTransactionList(TransactionListRequest request, TransactionListCompletion completion) {
  on("getTransactionList")
      ->start(PendingOf<OperationKind::transactionList>::make(std::move(request), std::move(completion)));
}
bool TilvaneGo::isTransactionListInProgress() const {
  return on("isTransactionListInProgress")->isInProgress(OperationKind::transactionList);
}
void TilvaneGo::cancelPendingTransactionList() {
  on("cancelPendingTransactionList")->cancel(OperationKind::transactionList);
}
bool TilvaneGo::isTransactionListCallback(const URL& url) const {
  return on("isTransactionListCallback")->isCallback(OperationKind::transactionList, url);
}
std::optional<TransactionListResult> TilvaneGo::transactionListResult(const URL& url) const {
  return on("transactionListResult")->result<OperationKind::transactionList>(url);
}
std::optional<TransactionListResult> TilvaneGo::parseTransactionListResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<OperationKind::transactionList>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::fullRefund(FullRefundRequest request, FullRefundCompletion completion) {
  on("fullRefund")
      ->start(PendingOf<OperationKind::fullRefund>::make(std::move(request), std::move(completion)));
}
bool TilvaneGo::isFullRefundInProgress() const {
  return on("isFullRefundInProgress")->isInProgress(OperationKind::fullRefund);
}
void TilvaneGo::cancelPendingFullRefund() {
  on("cancelPendingFullRefund")->cancel(OperationKind::fullRefund);
}
bool TilvaneGo::isFullRefundCallback(const URL& url) const {
  return on("isFullRefundCallback")->isCallback(OperationKind::fullRefund, url);
}
std::optional<FullRefundResult> TilvaneGo::fullRefundResult(const URL& url) const {
  return on("fullRefundResult")->result<OperationKind::fullRefund>(url);
}
std::optional<FullRefundResult> TilvaneGo::parseFullRefundResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<OperationKind::fullRefund>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::partialRefund(PartialRefundRequest request, PartialRefundCompletion completion) {
  on("partialRefund")
      ->start(PendingOf<OperationKind::partialRefund>::make(std::move(request), std::move(completion)));
}
bool TilvaneGo::isPartialRefundInProgress() const {
  return on("isPartialRefundInProgress")->isInProgress(OperationKind::partialRefund);
}
void TilvaneGo::cancelPendingPartialRefund() {
  on("cancelPendingPartialRefund")->cancel(OperationKind::partialRefund);
}
bool TilvaneGo::isPartialRefundCallback(const URL& url) const {
  return on("isPartialRefundCallback")->isCallback(OperationKind::partialRefund, url);
}
std::optional<PartialRefundResult> TilvaneGo::partialRefundResult(const URL& url) const {
  return on("partialRefundResult")->result<OperationKind::partialRefund>(url);
}
std::optional<PartialRefundResult> TilvaneGo::parsePartialRefundResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<OperationKind::partialRefund>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::capture(CaptureRequest request, CaptureCompletion completion) {
  on("capture")->start(PendingOf<OperationKind::capture>::make(std::move(request), std::move(completion)));
}
bool TilvaneGo::isCaptureInProgress() const {
  return on("isCaptureInProgress")->isInProgress(OperationKind::capture);
}
void TilvaneGo::cancelPendingCapture() { on("cancelPendingCapture")->cancel(OperationKind::capture); }
bool TilvaneGo::isCaptureCallback(const URL& url) const {
  return on("isCaptureCallback")->isCallback(OperationKind::capture, url);
}
std::optional<CaptureResult> TilvaneGo::captureResult(const URL& url) const {
  return on("captureResult")->result<OperationKind::capture>(url);
}
std::optional<CaptureResult> TilvaneGo::parseCaptureResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<OperationKind::capture>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::clearData(ClearDataRequest request, ClearDataCompletion completion) {
  on("clearData")
      ->start(PendingOf<OperationKind::clearData>::make(std::move(request), std::move(completion)));
}
bool TilvaneGo::isClearDataInProgress() const {
  return on("isClearDataInProgress")->isInProgress(OperationKind::clearData);
}
void TilvaneGo::cancelPendingClearData() { on("cancelPendingClearData")->cancel(OperationKind::clearData); }
bool TilvaneGo::isClearDataCallback(const URL& url) const {
  return on("isClearDataCallback")->isCallback(OperationKind::clearData, url);
}
std::optional<ClearDataResult> TilvaneGo::clearDataResult(const URL& url) const {
  return on("clearDataResult")->result<OperationKind::clearData>(url);
}
std::optional<ClearDataResult> TilvaneGo::parseClearDataResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<OperationKind::clearData>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::reboot(RebootRequest request, RebootCompletion completion) {
  on("reboot")->start(PendingOf<OperationKind::reboot>::make(std::move(request), std::move(completion)));
}
bool TilvaneGo::isRebootInProgress() const {
  return on("isRebootInProgress")->isInProgress(OperationKind::reboot);
}
void TilvaneGo::cancelPendingReboot() { on("cancelPendingReboot")->cancel(OperationKind::reboot); }
bool TilvaneGo::isRebootCallback(const URL& url) const {
  return on("isRebootCallback")->isCallback(OperationKind::reboot, url);
}
std::optional<RebootResult> TilvaneGo::rebootResult(const URL& url) const {
  return on("rebootResult")->result<OperationKind::reboot>(url);
}
std::optional<RebootResult> TilvaneGo::parseRebootResult(URL url,
                                                         const std::optional<std::string>& expectedRequestId,
                                                         const std::optional<URL>& expectedCallbackURL) {
  return parse<OperationKind::reboot>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::save(SaveRequest request, SaveCompletion completion) {
  on("save")->start(PendingOf<OperationKind::save>::make(std::move(request), std::move(completion)));
}
bool TilvaneGo::isSaveInProgress() const { return on("isSaveInProgress")->isInProgress(OperationKind::save); }
void TilvaneGo::cancelPendingSave() { on("cancelPendingSave")->cancel(OperationKind::save); }
bool TilvaneGo::isSaveCallback(const URL& url) const {
  return on("isSaveCallback")->isCallback(OperationKind::save, url);
}
std::optional<SaveResult> TilvaneGo::saveResult(const URL& url) const {
  return on("saveResult")->result<OperationKind::save>(url);
}
std::optional<SaveResult> TilvaneGo::parseSaveResult(URL url,
                                                     const std::optional<std::string>& expectedRequestId,
                                                     const std::optional<URL>& expectedCallbackURL) {
  return parse<OperationKind::save>(std::move(url), expectedRequestId, expectedCallbackURL);
}

}  // namespace tilvanego
