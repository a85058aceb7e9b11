#include <tilvanego/facade/AwaitedOperation.h>
#include <tilvanego/facade/TilvaneGoSDK.h>

namespace [[gnu::visibility("default")]] tilvanego {

namespace {
using namespace detail;
}  // namespace

Task<PaymentResult> TilvaneGo::startPayment(PaymentRequest request, OperationWaiting waiting) {
  return awaited<PaymentOperation>(on("startPayment"), "startPayment", std::move(request), std::move(waiting),
                                   PaymentLaunchTransport::urlScheme());
}
Task<PaymentResult> TilvaneGo::startPayment(PaymentRequest request, const PaymentLaunchTransport& transport,
                                            OperationWaiting waiting) {
  return awaited<PaymentOperation>(on("startPayment"), "startPayment", std::move(request), std::move(waiting),
                                   transport);
}
Task<InitializationResult> TilvaneGo::initialize(InitializationRequest request, OperationWaiting waiting) {
  return awaited<InitializationOperation>(on("initialize"), "initialize", std::move(request),
                                          std::move(waiting));
}
Task<TransactionListResult> TilvaneGo::getTransactionList(TransactionListRequest request,
                                                          OperationWaiting waiting) {
  return awaited<TransactionListOperation>(on("getTransactionList"), "getTransactionList", std::move(request),
                                           std::move(waiting));
}
Task<FullRefundResult> TilvaneGo::fullRefund(FullRefundRequest request, OperationWaiting waiting) {
  return awaited<FullRefundOperation>(on("fullRefund"), "fullRefund", std::move(request), std::move(waiting));
}
Task<PartialRefundResult> TilvaneGo::partialRefund(PartialRefundRequest request, OperationWaiting waiting) {
  return awaited<PartialRefundOperation>(on("partialRefund"), "partialRefund", std::move(request),
                                         std::move(waiting));
}
Task<CaptureResult> TilvaneGo::capture(CaptureRequest request, OperationWaiting waiting) {
  return awaited<CaptureOperation>(on("capture"), "capture", std::move(request), std::move(waiting));
}
Task<ClearDataResult> TilvaneGo::clearData(ClearDataRequest request, OperationWaiting waiting) {
  return awaited<ClearDataOperation>(on("clearData"), "clearData", std::move(request), std::move(waiting));
}
Task<RebootResult> TilvaneGo::reboot(RebootRequest request, OperationWaiting waiting) {
  return awaited<RebootOperation>(on("reboot"), "reboot", std::move(request), std::move(waiting));
}
Task<SaveResult> TilvaneGo::save(SaveRequest request, OperationWaiting waiting) {
  return awaited<SaveOperation>(on("save"), "save", std::move(request), std::move(waiting));
}

}  // namespace tilvanego
