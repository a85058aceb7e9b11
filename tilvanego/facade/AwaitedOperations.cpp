#include <memory>
#include <string_view>
#include <utility>

#include <tilvanego/facade/AwaitedOperation.h>
#include <tilvanego/facade/TilvaneGoSDK.h>

namespace [[gnu::visibility("default")]] tilvanego {

namespace {

using namespace detail;

template <OperationKind kind>
auto awaitedBy(std::string_view function, std::shared_ptr<Facade> facade,
               typename PendingOf<kind>::Request&& request, OperationWaiting waiting,
               const std::optional<PaymentLaunchTransport>& transport = std::nullopt) {
  return awaited<kind>(
      std::make_shared<AwaitedResult<kind>>(std::move(facade), std::move(request), transport), function,
      std::move(waiting));
}

}  // namespace

Task<PaymentResult> TilvaneGo::startPayment(PaymentRequest request, OperationWaiting waiting) {
  return startPayment(std::move(request), PaymentLaunchTransport::urlScheme(), std::move(waiting));
}
Task<PaymentResult> TilvaneGo::startPayment(PaymentRequest request, const PaymentLaunchTransport& transport,
                                            OperationWaiting waiting) {
  return awaitedBy<OperationKind::payment>("startPayment", on("startPayment"), std::move(request),
                                           std::move(waiting), transport);
}
Task<InitializationResult> TilvaneGo::initialize(InitializationRequest request, OperationWaiting waiting) {
  return awaitedBy<OperationKind::initialization>("initialize", on("initialize"), std::move(request),
                                                  std::move(waiting));
}
Task<TransactionListResult> TilvaneGo::getTransactionList(TransactionListRequest request,
                                                          OperationWaiting waiting) {
  return awaitedBy<OperationKind::transactionList>("getTransactionList", on("getTransactionList"),
                                                   std::move(request), std::move(waiting));
}
Task<FullRefundResult> TilvaneGo::fullRefund(FullRefundRequest request, OperationWaiting waiting) {
  return awaitedBy<OperationKind::fullRefund>("fullRefund", on("fullRefund"), std::move(request),
                                              std::move(waiting));
}
Task<PartialRefundResult> TilvaneGo::partialRefund(PartialRefundRequest request, OperationWaiting waiting) {
  return awaitedBy<OperationKind::partialRefund>("partialRefund", on("partialRefund"), std::move(request),
                                                 std::move(waiting));
}
Task<CaptureResult> TilvaneGo::capture(CaptureRequest request, OperationWaiting waiting) {
  return awaitedBy<OperationKind::capture>("capture", on("capture"), std::move(request), std::move(waiting));
}
Task<ClearDataResult> TilvaneGo::clearData(ClearDataRequest request, OperationWaiting waiting) {
  return awaitedBy<OperationKind::clearData>("clearData", on("clearData"), std::move(request),
                                             std::move(waiting));
}
Task<RebootResult> TilvaneGo::reboot(RebootRequest request, OperationWaiting waiting) {
  return awaitedBy<OperationKind::reboot>("reboot", on("reboot"), std::move(request), std::move(waiting));
}
Task<SaveResult> TilvaneGo::save(SaveRequest request, OperationWaiting waiting) {
  return awaitedBy<OperationKind::save>("save", on("save"), std::move(request), std::move(waiting));
}

}  // namespace tilvanego
