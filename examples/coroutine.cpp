// A till that awaits its operations: one coroutine contains its whole work, a payment, then its refund.
// Everything runs on the main thread.

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

#include <tilvanego/Sandbox.h>
#include <tilvanego/TilvaneGo.h>

using namespace tilvanego;
using namespace std::chrono_literals;

namespace {

// Separate functions make the requests: in a `co_await` expression, g++ 12 frees fields between braces twice.
PaymentRequest payment(const std::string& requestId) {
  return PaymentRequest({.requestId = requestId,
                         .amount = "12.50"_decimal,
                         .currency = "EUR",
                         .callbackURL = *URL::parse("till://payment-done/" + requestId)});
}

FullRefundRequest refund(const std::string& requestId, const std::string& transactionId) {
  const PaymentCredentials credentials({.basicToken = "secret", .accountId = "ACC-1", .environment = "CERT"});
  return FullRefundRequest({.requestId = requestId,
                            .transactionId = transactionId,
                            .callbackURL = *URL::parse("till://refund-done/" + requestId),
                            .credentials = credentials});
}

// Returns true if the payment and its refund succeeded.
Task<bool> payAndRefund() try {
  TilvaneGo& sdk = TilvaneGo::shared();
  const PaymentResult paid = co_await sdk.startPayment(payment("A-1001"), OperationWaiting(5min));
  std::cout << "payment: " << paid.name() << '\n';
  const auto* success = std::get_if<PaymentResult::Success>(&paid);
  if (success == nullptr) co_return false;

  const std::string transactionId = success->response.transactionId().value_or("");
  const FullRefundResult refunded = co_await sdk.fullRefund(refund("R-1001", transactionId));
  std::cout << "refund: " << refunded.name() << '\n';
  co_return std::holds_alternative<FullRefundResult::Success>(refunded);
} catch (const OperationTimedOut& late) {
  std::cout << late.description() << '\n';
  co_return false;
}

}  // namespace

int main() {
  Platform platform = Platform::standard();
  platform.application = std::make_unique<sandbox::SandboxApplication>(
      RunLoop::main(), [](const URL& callback) { TilvaneGo::shared().handleCallback(callback); });
  TilvaneGo::usePlatform(std::move(platform));

  // Drains the loop until the coroutine has ended.
  return payAndRefund().wait(RunLoop::main()) ? EXIT_SUCCESS : EXIT_FAILURE;
}
