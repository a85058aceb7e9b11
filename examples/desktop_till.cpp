// A till on a Linux desktop. Its callbacks find it also if it runs already, or was killed while the customer
// paid. Its desktop entry, which `tilvanego scheme install till --command …/example_desktop_till` writes,
// starts it with the callback:
//
//   example_desktop_till              starts a payment, and waits for its callback
//   example_desktop_till till:done    what the desktop does with the callback: hands it to the till that
//   waits, or
//                                     resumes the payment of the one that was killed

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

#include <tilvanego/TilvaneGo.h>

using namespace tilvanego;

namespace {

// For a payment that starts and for one that is resumed. A real till notes the result under the request id
// first.
void paymentEnded(const PaymentResult& result) {
  std::cout << result.name() << '\n';
  RunLoop::main().stop();
}

void resumeOrStart(TilvaneGo& sdk) {
  if (sdk.resumePayment(paymentEnded)) return;
  const PaymentRequest request({.requestId = "A-1001",
                                .amount = "12.50"_decimal,
                                .currency = "EUR",
                                .callbackURL = "till://payment-done/A-1001"_url});
  sdk.startPayment(request, paymentEnded);
}

}  // namespace

int main(int argc, char** argv) {
  const auto callbacks = CallbackReceiver::claim("com.example.till", CallbackReceiver::urlIn(argc, argv));
  if (!callbacks) {
    std::cerr << callbacks.error() << '\n';
    return EXIT_FAILURE;
  }
  if (*callbacks == nullptr) return EXIT_SUCCESS;  // The till that runs already has handled the callback.

  Platform platform = Platform::standard();
  platform.debugOutput = std::make_unique<SilentDebugOutput>();
  platform.pendingStore = FilePendingStore::ofHost("com.example.till");
  TilvaneGo::usePlatform(std::move(platform));
  (*callbacks)->receive(RunLoop::main(), [](const URL& url) { TilvaneGo::shared().handleCallback(url); });
  resumeOrStart(TilvaneGo::shared());
  RunLoop::main().run();
  return EXIT_SUCCESS;
}
