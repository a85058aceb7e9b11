#include <tilvanego/facade/OperationWaiting.h>

namespace [[gnu::visibility("default")]] tilvanego {

OperationTimedOut::OperationTimedOut(OperationKind operation, std::chrono::milliseconds timeout)
    : operation_(operation), timeout_(timeout) {}

std::string OperationTimedOut::description() const {
  const std::string words = operationWords(operation_);
  const std::string mayStill = operation_ == OperationKind::payment
                                   ? "The customer may still pay"
                                   : "The payment application may still carry it out";
  return "The " + words + " had no result within " + std::to_string(timeout_.count()) +
         " ms, and is no longer waited for. " + mayStill +
         ": look it up by a transaction list (getTransactionList) before you start it again.";
}

const char* OperationTimedOut::what() const noexcept {
  return "no result within the time-out; the customer may still pay: look it up by a transaction list";
}

}  // namespace tilvanego
