#include "tests/support/Test.h"

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/sandbox/TestHost.h>
#include <tilvanego/values/Literals.h>

namespace tilvanego::sandbox {
namespace {

// The host's code, which knows only the shared instance.
std::string paid(TestHost& host, const Decimal& amount, const PaymentLaunchTransport& transport) {
  std::string outcome = "pending";
  TilvaneGo::shared().startPayment(
      PaymentRequest(
          {.requestId = "A-1", .amount = amount, .currency = "EUR", .callbackURL = "shop://done"_url}),
      transport, [&outcome](const PaymentResult& result) { outcome = result.name(); });
  host.loop().runPending();
  return outcome;
}

TEST(TestHost, GivesEachTestAnInstanceOfItsOwn) {
  const auto inLink = PaymentLaunchTransport::urlScheme();
  const auto sealed = PaymentLaunchTransport::pasteboard();
  std::vector<std::vector<std::string>> lines;
  for (int run = 0; run < 2; ++run) {
    TestHost host;
    EXPECT_EQ(&TilvaneGo::shared(), &host.sdk());
    EXPECT_FALSE(host.sdk().isPaymentInProgress()) << "left by the run before";
    EXPECT_EQ(paid(host, 12, inLink), "success");
    EXPECT_EQ(paid(host, "12.01"_decimal, inLink), "declined");
    EXPECT_EQ(paid(host, 12, sealed), "success");
    host.paymentApplication().setOutcome(Outcome::silent);
    EXPECT_EQ(paid(host, 12, inLink), "pending");
    lines.push_back(host.debugOutput().take());
    // Only the id of what is on the pasteboard is random.
    std::erase_if(lines.back(), [](const std::string& line) { return line.contains("pasteboard"); });
    EXPECT_FALSE(lines.back().empty());
  }
  EXPECT_EQ(lines[0], lines[1]);
}

TEST(TestHost, IsSharedWhileItLivesInAnyOrder) {
  const TilvaneGo* const ofTheProcess = &TilvaneGo::shared();
  auto first = std::make_unique<TestHost>();
  auto second = std::make_unique<TestHost>();
  auto third = std::make_unique<TestHost>();
  EXPECT_EQ(&TilvaneGo::shared(), &third->sdk());
  second.reset();
  EXPECT_EQ(&TilvaneGo::shared(), &third->sdk());
  third.reset();
  EXPECT_EQ(&TilvaneGo::shared(), &first->sdk());
  first.reset();
  EXPECT_EQ(&TilvaneGo::shared(), ofTheProcess);
}

}  // namespace
}  // namespace tilvanego::sandbox
