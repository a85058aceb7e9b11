#include "tests/support/Kinds.h"

#include <algorithm>
#include <utility>

namespace tilvanego::test {
namespace {

/// `Result` of a function of the host's, as a summary.
template <class Result>
auto resultBy(std::optional<Result> (TilvaneGo::*function)(const URL&) const) {
  return [function](const TestHost& host, const URL& url) { return summary((*host.sdk.*function)(url)); };
}

template <class Parse>
auto parsedBy(Parse parse) {
  return [parse](const URL& url) { return summary(parse(url, std::nullopt, std::nullopt)); };
}

using Host = TestHost;
using SDK = TilvaneGo;
const std::string id = "A-1";

std::vector<Kind> makeKinds() {
  return {
      {"initialization",
       [](Host& host, const URL& url) {
         host.sdk->initialize(InitializationRequest({.requestId = id,
                                                     .callbackURL = url,
                                                     .sourceApplication = "shop",
                                                     .basicToken = std::string(secretToken),
                                                     .accountId = "acc",
                                                     .environment = "prod",
                                                     .basePath = "/p"}),
                              noting(host, "initialization"));
       },
       &SDK::isInitializationInProgress, &SDK::cancelPendingInitialization, &SDK::isInitializationCallback,
       resultBy(&SDK::initializationResult), parsedBy(SDK::parseInitializationResult),
       "An initialization is already in progress.", "initialization"},
      {"transactionList",
       [](Host& host, const URL& url) {
         host.sdk->getTransactionList(TransactionListRequest({.requestId = id, .callbackURL = url}),
                                      noting(host, "transactionList"));
       },
       &SDK::isTransactionListInProgress, &SDK::cancelPendingTransactionList, &SDK::isTransactionListCallback,
       resultBy(&SDK::transactionListResult), parsedBy(SDK::parseTransactionListResult),
       "A transaction list request is already in progress.", "transaction list"},
      {"fullRefund",
       [](Host& host, const URL& url) {
         host.sdk->fullRefund(
             FullRefundRequest(
                 {.requestId = id, .transactionId = "T", .callbackURL = url, .credentials = credentials()}),
             noting(host, "fullRefund"));
       },
       &SDK::isFullRefundInProgress, &SDK::cancelPendingFullRefund, &SDK::isFullRefundCallback,
       resultBy(&SDK::fullRefundResult), parsedBy(SDK::parseFullRefundResult),
       "A full refund request is already in progress.", "full refund"},
      {"partialRefund",
       [](Host& host, const URL& url) {
         host.sdk->partialRefund(PartialRefundRequest({.requestId = id,
                                                       .transactionId = "T",
                                                       .amount = 1,
                                                       .callbackURL = url,
                                                       .credentials = credentials()}),
                                 noting(host, "partialRefund"));
       },
       &SDK::isPartialRefundInProgress, &SDK::cancelPendingPartialRefund, &SDK::isPartialRefundCallback,
       resultBy(&SDK::partialRefundResult), parsedBy(SDK::parsePartialRefundResult),
       "A partial refund request is already in progress.", "partial refund"},
      {"capture",
       [](Host& host, const URL& url) {
         host.sdk->capture(
             CaptureRequest({.requestId = id, .transactionId = "T", .amount = "1", .callbackURL = url}),
             noting(host, "capture"));
       },
       &SDK::isCaptureInProgress, &SDK::cancelPendingCapture, &SDK::isCaptureCallback,
       resultBy(&SDK::captureResult), parsedBy(SDK::parseCaptureResult),
       "A capture request is already in progress.", "capture"},
      {"clearData",
       [](Host& host, const URL& url) {
         host.sdk->clearData(
             ClearDataRequest({.requestId = id, .callbackURL = url, .amount = 1, .timeout = 30}),
             noting(host, "clearData"));
       },
       &SDK::isClearDataInProgress, &SDK::cancelPendingClearData, &SDK::isClearDataCallback,
       resultBy(&SDK::clearDataResult), parsedBy(SDK::parseClearDataResult),
       "A clear data request is already in progress.", "clear data"},
      {"reboot",
       [](Host& host, const URL& url) {
         host.sdk->reboot(RebootRequest({.requestId = id, .callbackURL = url}), noting(host, "reboot"));
       },
       &SDK::isRebootInProgress, &SDK::cancelPendingReboot, &SDK::isRebootCallback,
       resultBy(&SDK::rebootResult), parsedBy(SDK::parseRebootResult),
       "A reboot request is already in progress.", "reboot"},
      {"save",
       [](Host& host, const URL& url) {
         host.sdk->save(SaveRequest({.requestId = id,
                                     .callbackURL = url,
                                     .currency = "EUR",
                                     .customId = "c",
                                     .notes = std::string(secretNotes),
                                     .credentials = credentials()}),
                        noting(host, "save"));
       },
       &SDK::isSaveInProgress, &SDK::cancelPendingSave, &SDK::isSaveCallback, resultBy(&SDK::saveResult),
       parsedBy(SDK::parseSaveResult), "A save request is already in progress.", "save"},
      {"payment",
       [](Host& host, const URL& url) {
         host.sdk->startPayment(PaymentRequest({.requestId = id,
                                                .amount = 1,
                                                .currency = "EUR",
                                                .callbackURL = url,
                                                .customId = "c",
                                                .notes = std::string(secretNotes),
                                                .credentials = credentials()}),
                                noting(host, "payment"));
       },
       &SDK::isPaymentInProgress, &SDK::cancelPendingPayment, &SDK::isPaymentCallback,
       resultBy(&SDK::paymentResult), parsedBy(SDK::parsePaymentResult), "A payment is already in progress.",
       "payment"},
  };
}

}  // namespace

const std::vector<Kind>& allKinds() {
  static const std::vector<Kind> kinds = makeKinds();
  return kinds;
}

const Kind& kindNamed(std::string_view name) { return *std::ranges::find(allKinds(), name, &Kind::name); }

}  // namespace tilvanego::test
