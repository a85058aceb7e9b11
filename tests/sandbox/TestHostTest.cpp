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

TEST(TestHost, IsSharedUntilWhatTheTestCapturedIsDestroyed) {
  struct AtEnd {
    std::function<void()> run;
    ~AtEnd() { run(); }
  };
  const auto payment = [](std::string id) {
    return PaymentRequest(
        {.requestId = std::move(id), .amount = 1, .currency = "EUR", .callbackURL = "shop://done"_url});
  };
  TestHost outer;
  outer.paymentApplication().setOutcome(Outcome::silent);
  outer.sdk().startPayment(payment("outer"), [](const PaymentResult&) {});
  std::vector<std::string_view> reached;
  auto inner = std::make_unique<TestHost>();
  // Of a till that gives up its payment when it is closed, and of one that even starts another.
  const auto capture = [&, shared = &inner->sdk()] {
    return std::make_shared<AtEnd>([&, shared] {
      TilvaneGo::shared().cancelPendingPayment();
      TilvaneGo::shared().startPayment(payment("inner"), [](const PaymentResult&) {});
      const bool isPending = TilvaneGo::shared().isPaymentInProgress();
      reached.push_back(&TilvaneGo::shared() != shared ? "another" : isPending ? "pending" : "ended");
    });
  };
  inner->paymentApplication().setOutcome(Outcome::silent);
  inner->paymentApplication().setObserver([captured = capture()](const URL&, const auto&) {});
  inner->sdk().startPayment(payment("A-1"), [captured = capture()](const PaymentResult&) {});
  inner->loop().post([captured = capture()] {});
  inner.reset();
  EXPECT_EQ(reached, std::vector<std::string_view>(3, "ended"));
  EXPECT_TRUE(outer.sdk().isPaymentInProgress());
}

TEST(TestHost, MayBeDestroyedByItsOwnCompletion) {
  auto host = std::make_unique<TestHost>();
  RunLoop& loop = host->loop();
  std::string outcome;
  host->sdk().startPayment(
      PaymentRequest({.requestId = "A-1", .amount = 1, .currency = "EUR", .callbackURL = "shop://done"_url}),
      [&](const PaymentResult& result) {
        outcome = result.name();
        loop.post([] { ADD_FAILURE() << "a block of a loop that is gone"; });
        host.reset();
      });
  loop.runPending();
  EXPECT_EQ(outcome, "success");
}

}  // namespace
}  // namespace tilvanego::sandbox
