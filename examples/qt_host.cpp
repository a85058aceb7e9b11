// A till on Qt 6: it starts one payment, sealed on the clipboard, and Qt's event loop runs until the result
// arrives. The sandbox replaces the payment application; a real till leaves out `rehearse`, and passes the
// callback URL that the system opens to `handleCallback`.

#include <QGuiApplication>
#include <cstdlib>
#include <iostream>
#include <memory>

#include <tilvanego/Qt.h>
#include <tilvanego/Sandbox.h>
#include <tilvanego/TilvaneGo.h>

using namespace tilvanego;

namespace {

// Lets the sandbox open the links, and passes its callback URLs to the library.
void rehearse(Platform& platform) {
  platform.application = std::make_unique<sandbox::SandboxApplication>(
      *platform.mainQueue, [](const URL& callback) { TilvaneGo::shared().handleCallback(callback); },
      sandbox::HandoffPorts{.pasteboard = platform.pasteboard.get()});
}

}  // namespace

int main(int count, char** words) {
  const QGuiApplication application(count, words);
  QtMainQueue queue;
  Platform platform = qtPlatform(queue);
  rehearse(platform);
  TilvaneGo::usePlatform(std::move(platform));

  const PaymentRequest request({.requestId = "A-1001",
                                .amount = "12.50"_decimal,
                                .transactionType = PaymentTransactionType::sale,
                                .currency = "EUR",
                                .callbackURL = "till://payment-done"_url});
  TilvaneGo::shared().startPayment(
      request, PaymentLaunchTransport::pasteboard(), [](const PaymentResult& result) {
        if (const auto* success = std::get_if<PaymentResult::Success>(&result)) {
          std::cout << "Paid, approval code " << success->response.approvalCode().value_or("none") << '\n';
          QGuiApplication::exit(EXIT_SUCCESS);
        } else {
          std::cout << "Not paid: " << result.name() << '\n';
          QGuiApplication::exit(EXIT_FAILURE);
        }
      });
  return QGuiApplication::exec();
}
