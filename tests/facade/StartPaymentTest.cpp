#include <thread>

#include "tests/support/Kinds.h"
#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

PaymentRequest validRequest() { return fullRequest<OperationKind::payment>(parsedURL("myshop://done")); }

TEST(StartPayment, WithoutACompletionIsAPaymentAllTheSame) {
  TestHost host;
  host.sdk->startPayment(validRequest(), nullptr);
  host.sdk->startPayment(validRequest(), nullptr);
  EXPECT_TRUE(host.sdk->handleCallback(parsedURL("myshop://done?status=approved")));
  host.sdk->sendRequest("", "", "", "", "", "", "", nullptr);
  EXPECT_FALSE(host.sdk->isPaymentInProgress());
}

TEST(Logger, MayReplaceItselfFromWithinACall) {
  TestHost host;
  std::vector<int> calls;
  host.sdk->setLogger([&](TilvaneLogLevel, std::string_view) {
    calls.push_back(1);
    host.sdk->setLogger([&](TilvaneLogLevel, std::string_view) { calls.push_back(2); });
    calls.push_back(1);
  });
  for (int times = 0; times < 2; ++times) {
    EXPECT_FALSE(host.sdk->handleCallback(parsedURL("myshop://done")));
  }
  EXPECT_EQ(calls, (std::vector{1, 1, 2}));
  host.sdk->setLogger(nullptr);
  EXPECT_FALSE(host.sdk->logger());
  EXPECT_FALSE(host.sdk->handleCallback(parsedURL("myshop://done")));
}

TEST(StartPaymentDeathTest, FromAnotherThreadEndsTheProcessWithAMessage) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        TestHost host;
        host.loop.runPending();
        std::thread([&] { host.sdk->startPayment(validRequest(), nullptr); }).join();
      },
      "startPayment was called from another thread than the main thread");
}

TEST(SharedDeathTest, TakesNoPlatformOnceItIsInUse) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        EXPECT_FALSE(TilvaneGo::shared().isPaymentInProgress());
        TilvaneGo::usePlatform(Platform::standard());
      },
      "before the first use");
}

}  // namespace
}  // namespace tilvanego::test
