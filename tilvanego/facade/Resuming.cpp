// The public functions for operations that survive their host, and for what is pending.

#include <utility>

#include <tilvanego/facade/Facade.h>
#include <tilvanego/facade/PendingOf.h>
#include <tilvanego/facade/TilvaneGoSDK.h>

namespace [[gnu::visibility("default")]] tilvanego {

using namespace detail;

std::vector<PendingOperation> TilvaneGo::pendingOperations() const {
  return on("pendingOperations")->pendingOperations();
}
std::vector<InterruptedOperation> TilvaneGo::interruptedOperations() const {
  return on("interruptedOperations")->interruptedOperations();
}

std::optional<PaymentRequest> TilvaneGo::resumePayment(PaymentCompletion completion) {
  return on("resumePayment")->resume<OperationKind::payment>(std::move(completion));
}
bool TilvaneGo::forgetInterruptedPayment() {
  return on("forgetInterruptedPayment")->forgetInterrupted(OperationKind::payment);
}

std::optional<InitializationRequest> TilvaneGo::resumeInitialization(InitializationCompletion completion) {
  return on("resumeInitialization")->resume<OperationKind::initialization>(std::move(completion));
}
bool TilvaneGo::forgetInterruptedInitialization() {
  return on("forgetInterruptedInitialization")->forgetInterrupted(OperationKind::initialization);
}

std::optional<TransactionListRequest> TilvaneGo::resumeTransactionList(TransactionListCompletion completion) {
  return on("resumeTransactionList")->resume<OperationKind::transactionList>(std::move(completion));
}
bool TilvaneGo::forgetInterruptedTransactionList() {
  return on("forgetInterruptedTransactionList")->forgetInterrupted(OperationKind::transactionList);
}

std::optional<FullRefundRequest> TilvaneGo::resumeFullRefund(FullRefundCompletion completion) {
  return on("resumeFullRefund")->resume<OperationKind::fullRefund>(std::move(completion));
}
bool TilvaneGo::forgetInterruptedFullRefund() {
  return on("forgetInterruptedFullRefund")->forgetInterrupted(OperationKind::fullRefund);
}

std::optional<PartialRefundRequest> TilvaneGo::resumePartialRefund(PartialRefundCompletion completion) {
  return on("resumePartialRefund")->resume<OperationKind::partialRefund>(std::move(completion));
}
bool TilvaneGo::forgetInterruptedPartialRefund() {
  return on("forgetInterruptedPartialRefund")->forgetInterrupted(OperationKind::partialRefund);
}

std::optional<CaptureRequest> TilvaneGo::resumeCapture(CaptureCompletion completion) {
  return on("resumeCapture")->resume<OperationKind::capture>(std::move(completion));
}
bool TilvaneGo::forgetInterruptedCapture() {
  return on("forgetInterruptedCapture")->forgetInterrupted(OperationKind::capture);
}

std::optional<ClearDataRequest> TilvaneGo::resumeClearData(ClearDataCompletion completion) {
  return on("resumeClearData")->resume<OperationKind::clearData>(std::move(completion));
}
bool TilvaneGo::forgetInterruptedClearData() {
  return on("forgetInterruptedClearData")->forgetInterrupted(OperationKind::clearData);
}

std::optional<RebootRequest> TilvaneGo::resumeReboot(RebootCompletion completion) {
  return on("resumeReboot")->resume<OperationKind::reboot>(std::move(completion));
}
bool TilvaneGo::forgetInterruptedReboot() {
  return on("forgetInterruptedReboot")->forgetInterrupted(OperationKind::reboot);
}

std::optional<SaveRequest> TilvaneGo::resumeSave(SaveCompletion completion) {
  return on("resumeSave")->resume<OperationKind::save>(std::move(completion));
}
bool TilvaneGo::forgetInterruptedSave() {
  return on("forgetInterruptedSave")->forgetInterrupted(OperationKind::save);
}

}  // namespace tilvanego
