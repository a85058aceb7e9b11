// A till without an event loop: it starts one payment and drains the library's `RunLoop` until the result
// arrives. The sandbox replaces the payment application. A real till doesn't call `usePlatform`, and passes
// the callback URL that the system opens to `handleCallback`.

#include <cstdlib>
#include <iostream>
#include <memory>
#include <utility>

#include <tilvanego/Sandbox.h>
#include <tilvanego/TilvaneGo.h>

using namespace tilvanego;

namespace {

// Lets the sandbox open the links, and passes its callback URLs to the library.
void rehearse() {
  Platform platform = Platform::standard();
  platform.application = std::make_unique<sandbox::SandboxApplication>(
      RunLoop::main(), [](const URL& callback) { TilvaneGo::shared().handleCallback(callback); });
  TilvaneGo::usePlatform(std::move(platform));
}

}  // namespace

int main() {
  rehearse();

  const PaymentRequest request({.requestId = "A-1001",
                                .amount = "12.50"_decimal,
                                .transactionType = PaymentTransactionType::sale,
                                .currency = "EUR",
                                .callbackURL = "till://payment-done"_url});
  bool paid = false;
  TilvaneGo::shared().startPayment(request, [&paid](const PaymentResult& result) {
    if (const auto* success = std::get_if<PaymentResult::Success>(&result)) {
      std::cout << "Paid, approval code " << success->response.approvalCode().value_or("none") << '\n';
      paid = true;
    } else if (const auto* failure = std::get_if<PaymentResult::Failure>(&result)) {
      std::cout << failure->error.errorDescription() << '\n';
    } else {
      std::cout << "Not paid: " << result.name() << '\n';
    }
    RunLoop::main().stop();
  });

  // Returns after the completion has stopped the loop.
  RunLoop::main().run();
  return paid ? EXIT_SUCCESS : EXIT_FAILURE;
}
