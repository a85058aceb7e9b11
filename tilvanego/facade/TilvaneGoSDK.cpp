#include <tilvanego/facade/TilvaneGoSDK.h>

#include <utility>

#include <tilvanego/facade/FacadeAccess.h>
#include <tilvanego/facade/FacadeRecords.h>
#include <tilvanego/facade/FreshInstance.h>
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

template <typename Operation>
std::optional<typename Operation::Result> parse(URL url, const std::optional<std::string>& expectedRequestId,
                                                const std::optional<URL>& expectedCallbackURL) {
  return detail::parseCallback<Operation>(std::move(url), expectedRequestId ? &*expectedRequestId : nullptr,
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
  on("startPayment")->start<PaymentOperation>(std::move(request), std::move(completion), transport);
}
void TilvaneGo::sendRequest(std::string requestId, const std::string& amount, const std::string& type,
                            std::string currency, const std::string& returnUrl, std::string customId,
                            std::string notes, PaymentCompletion completion) {
  const auto facade = on("sendRequest");
  auto request = paymentRequestFromTexts(std::move(requestId), amount, type, std::move(currency), returnUrl,
                                         std::move(customId), std::move(notes));
  if (!request) {
    if (completion) completion(detail::failureWithoutResponse<PaymentOperation>(std::move(request).error()));
    return;
  }
  facade->start<PaymentOperation>(*std::move(request), std::move(completion),
                                  PaymentLaunchTransport::urlScheme());
}
bool TilvaneGo::isPaymentInProgress() const {
  return on("isPaymentInProgress")->isInProgress<PaymentOperation>();
}
void TilvaneGo::cancelPendingPayment() { on("cancelPendingPayment")->cancel<PaymentOperation>(); }
bool TilvaneGo::isPaymentCallback(const URL& url) const {
  return on("isPaymentCallback")->isCallback<PaymentOperation>(url);
}
std::optional<PaymentResult> TilvaneGo::paymentResult(const URL& url) const {
  return on("paymentResult")->result<PaymentOperation>(url);
}
std::optional<PaymentResult> TilvaneGo::parsePaymentResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<PaymentOperation>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::initialize(InitializationRequest request, InitializationCompletion completion) {
  on("initialize")->start<InitializationOperation>(std::move(request), std::move(completion));
}
bool TilvaneGo::isInitializationInProgress() const {
  return on("isInitializationInProgress")->isInProgress<InitializationOperation>();
}
void TilvaneGo::cancelPendingInitialization() {
  on("cancelPendingInitialization")->cancel<InitializationOperation>();
}
bool TilvaneGo::isInitializationCallback(const URL& url) const {
  return on("isInitializationCallback")->isCallback<InitializationOperation>(url);
}
std::optional<InitializationResult> TilvaneGo::initializationResult(const URL& url) const {
  return on("initializationResult")->result<InitializationOperation>(url);
}
std::optional<InitializationResult> TilvaneGo::parseInitializationResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<InitializationOperation>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::getTransactionList(TransactionListRequest request, TransactionListCompletion completion) {
  on("getTransactionList")->start<TransactionListOperation>(std::move(request), std::move(completion));
}
bool TilvaneGo::isTransactionListInProgress() const {
  return on("isTransactionListInProgress")->isInProgress<TransactionListOperation>();
}
void TilvaneGo::cancelPendingTransactionList() {
  on("cancelPendingTransactionList")->cancel<TransactionListOperation>();
}
bool TilvaneGo::isTransactionListCallback(const URL& url) const {
  return on("isTransactionListCallback")->isCallback<TransactionListOperation>(url);
}
std::optional<TransactionListResult> TilvaneGo::transactionListResult(const URL& url) const {
  return on("transactionListResult")->result<TransactionListOperation>(url);
}
std::optional<TransactionListResult> TilvaneGo::parseTransactionListResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<TransactionListOperation>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::fullRefund(FullRefundRequest request, FullRefundCompletion completion) {
  on("fullRefund")->start<FullRefundOperation>(std::move(request), std::move(completion));
}
bool TilvaneGo::isFullRefundInProgress() const {
  return on("isFullRefundInProgress")->isInProgress<FullRefundOperation>();
}
void TilvaneGo::cancelPendingFullRefund() { on("cancelPendingFullRefund")->cancel<FullRefundOperation>(); }
bool TilvaneGo::isFullRefundCallback(const URL& url) const {
  return on("isFullRefundCallback")->isCallback<FullRefundOperation>(url);
}
std::optional<FullRefundResult> TilvaneGo::fullRefundResult(const URL& url) const {
  return on("fullRefundResult")->result<FullRefundOperation>(url);
}
std::optional<FullRefundResult> TilvaneGo::parseFullRefundResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<FullRefundOperation>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::partialRefund(PartialRefundRequest request, PartialRefundCompletion completion) {
  on("partialRefund")->start<PartialRefundOperation>(std::move(request), std::move(completion));
}
bool TilvaneGo::isPartialRefundInProgress() const {
  return on("isPartialRefundInProgress")->isInProgress<PartialRefundOperation>();
}
void TilvaneGo::cancelPendingPartialRefund() {
  on("cancelPendingPartialRefund")->cancel<PartialRefundOperation>();
}
bool TilvaneGo::isPartialRefundCallback(const URL& url) const {
  return on("isPartialRefundCallback")->isCallback<PartialRefundOperation>(url);
}
std::optional<PartialRefundResult> TilvaneGo::partialRefundResult(const URL& url) const {
  return on("partialRefundResult")->result<PartialRefundOperation>(url);
}
std::optional<PartialRefundResult> TilvaneGo::parsePartialRefundResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<PartialRefundOperation>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::capture(CaptureRequest request, CaptureCompletion completion) {
  on("capture")->start<CaptureOperation>(std::move(request), std::move(completion));
}
bool TilvaneGo::isCaptureInProgress() const {
  return on("isCaptureInProgress")->isInProgress<CaptureOperation>();
}
void TilvaneGo::cancelPendingCapture() { on("cancelPendingCapture")->cancel<CaptureOperation>(); }
bool TilvaneGo::isCaptureCallback(const URL& url) const {
  return on("isCaptureCallback")->isCallback<CaptureOperation>(url);
}
std::optional<CaptureResult> TilvaneGo::captureResult(const URL& url) const {
  return on("captureResult")->result<CaptureOperation>(url);
}
std::optional<CaptureResult> TilvaneGo::parseCaptureResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<CaptureOperation>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::clearData(ClearDataRequest request, ClearDataCompletion completion) {
  on("clearData")->start<ClearDataOperation>(std::move(request), std::move(completion));
}
bool TilvaneGo::isClearDataInProgress() const {
  return on("isClearDataInProgress")->isInProgress<ClearDataOperation>();
}
void TilvaneGo::cancelPendingClearData() { on("cancelPendingClearData")->cancel<ClearDataOperation>(); }
bool TilvaneGo::isClearDataCallback(const URL& url) const {
  return on("isClearDataCallback")->isCallback<ClearDataOperation>(url);
}
std::optional<ClearDataResult> TilvaneGo::clearDataResult(const URL& url) const {
  return on("clearDataResult")->result<ClearDataOperation>(url);
}
std::optional<ClearDataResult> TilvaneGo::parseClearDataResult(
    URL url, const std::optional<std::string>& expectedRequestId,
    const std::optional<URL>& expectedCallbackURL) {
  return parse<ClearDataOperation>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::reboot(RebootRequest request, RebootCompletion completion) {
  on("reboot")->start<RebootOperation>(std::move(request), std::move(completion));
}
bool TilvaneGo::isRebootInProgress() const {
  return on("isRebootInProgress")->isInProgress<RebootOperation>();
}
void TilvaneGo::cancelPendingReboot() { on("cancelPendingReboot")->cancel<RebootOperation>(); }
bool TilvaneGo::isRebootCallback(const URL& url) const {
  return on("isRebootCallback")->isCallback<RebootOperation>(url);
}
std::optional<RebootResult> TilvaneGo::rebootResult(const URL& url) const {
  return on("rebootResult")->result<RebootOperation>(url);
}
std::optional<RebootResult> TilvaneGo::parseRebootResult(URL url,
                                                         const std::optional<std::string>& expectedRequestId,
                                                         const std::optional<URL>& expectedCallbackURL) {
  return parse<RebootOperation>(std::move(url), expectedRequestId, expectedCallbackURL);
}

void TilvaneGo::save(SaveRequest request, SaveCompletion completion) {
  on("save")->start<SaveOperation>(std::move(request), std::move(completion));
}
bool TilvaneGo::isSaveInProgress() const { return on("isSaveInProgress")->isInProgress<SaveOperation>(); }
void TilvaneGo::cancelPendingSave() { on("cancelPendingSave")->cancel<SaveOperation>(); }
bool TilvaneGo::isSaveCallback(const URL& url) const {
  return on("isSaveCallback")->isCallback<SaveOperation>(url);
}
std::optional<SaveResult> TilvaneGo::saveResult(const URL& url) const {
  return on("saveResult")->result<SaveOperation>(url);
}
std::optional<SaveResult> TilvaneGo::parseSaveResult(URL url,
                                                     const std::optional<std::string>& expectedRequestId,
                                                     const std::optional<URL>& expectedCallbackURL) {
  return parse<SaveOperation>(std::move(url), expectedRequestId, expectedCallbackURL);
}

}  // namespace tilvanego
