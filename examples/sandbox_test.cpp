// A test of a host with the sandbox, without a test framework. It tests the host's function `describe`; the
// sandbox plays every outcome. Nothing waits: `runPending` runs everything, so an operation that has not
// completed after it stays pending.

#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/Sandbox.h>
#include <tilvanego/TilvaneGo.h>

using namespace tilvanego;
using sandbox::Outcome;

namespace {

// The host's function under test: the text of the till's display.
std::string describe(const PaymentResult& result) {
  if (std::holds_alternative<PaymentResult::Success>(result)) return "Thank you";
  if (std::holds_alternative<PaymentResult::Declined>(result)) return "Card declined";
  if (std::holds_alternative<PaymentResult::Cancelled>(result)) return "Cancelled";
  const auto& failure = std::get<PaymentResult::Failure>(result);
  return failure.error == PaymentError::PaymentAppNotInstalled{} ? "No payment application"
                                                                 : "Please ask the staff";
}

// Makes one payment. Returns the text of the display, or nothing if there is no result.
std::optional<std::string> shownAfterPayment(const PaymentLaunchTransport& transport) {
  const PaymentRequest request({.requestId = "A-1001",
                                .amount = "12.50"_decimal,
                                .currency = "EUR",
                                .callbackURL = "till://payment-done"_url});
  std::optional<std::string> shown;
  TilvaneGo::shared().startPayment(request, transport,
                                   [&shown](const PaymentResult& result) { shown = describe(result); });
  RunLoop::main().runPending();
  TilvaneGo::shared().cancelPendingPayment();  // a silent payment application leaves it pending
  return shown;
}

struct Case {
  Outcome outcome;
  PaymentLaunchTransport transport;
  std::optional<std::string> shown;
};

}  // namespace

int main() {
  Platform platform = Platform::standard();
  platform.pasteboard = std::make_unique<MemoryPasteboard>(platform.clock);
  auto application = std::make_unique<sandbox::SandboxApplication>(
      RunLoop::main(), [](const URL& callback) { TilvaneGo::shared().handleCallback(callback); },
      sandbox::HandoffPorts{.pasteboard = platform.pasteboard.get()});
  sandbox::SandboxApplication& paymentApplication = *application;
  platform.application = std::move(application);
  TilvaneGo::usePlatform(std::move(platform));

  const auto inLink = PaymentLaunchTransport::urlScheme();
  const auto sealed = PaymentLaunchTransport::pasteboard();
  const Case cases[] = {
      {Outcome::approve, inLink, "Thank you"},
      {Outcome::decline, inLink, "Card declined"},
      {Outcome::cancel, inLink, "Cancelled"},
      {Outcome::fail, inLink, "Please ask the staff"},
      {Outcome::silent, inLink, std::nullopt},
      {Outcome::wrongId, inLink, "Please ask the staff"},
      {Outcome::noStatus, inLink, "Please ask the staff"},
      {Outcome::unknownStatus, inLink, "Please ask the staff"},
      {Outcome::approve, sealed, "Thank you"},
      {Outcome::tampered, sealed, "Please ask the staff"},
      {Outcome::expired, sealed, "Please ask the staff"},
  };

  int failed = 0;
  const auto expect = [&failed](std::string_view what, const auto& shown, const auto& expected) {
    if (shown == expected) return;
    std::cout << "FAILED " << what << ": " << shown.value_or("nothing") << '\n';
    ++failed;
  };
  for (const Case& one : cases) {
    paymentApplication.setOutcome(one.outcome);
    expect(rawText(one.outcome), shownAfterPayment(one.transport), one.shown);
  }
  paymentApplication.setInstalled(false);
  expect("not installed", shownAfterPayment(inLink), std::optional<std::string>("No payment application"));
  std::cout << (failed == 0 ? "all outcomes are shown as they should be\n" : "some outcomes are not\n");
  return failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
