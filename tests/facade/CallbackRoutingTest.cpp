#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/TestHost.h"

namespace tilvanego {
namespace {

using test::TestHost;
using Events = std::vector<std::string>;

const URL callbackURL = URL::parse("myshop://done").value();
const URL approved = URL::parse("MYSHOP://Done/?request_id=A-1&status=approved").value();
const URL elsewhere = URL::parse("myshop://elsewhere?status=approved").value();

void startPayment(TestHost& host) {
  host.sdk->startPayment(
      PaymentRequest({.requestId = "A-1", .amount = 1, .currency = "EUR", .callbackURL = callbackURL}),
      [&host](const PaymentResult& result) {
        EXPECT_FALSE(host.sdk->isPaymentInProgress()) << "the slot is empty before the completion runs";
        host.note("completion " + std::string(result.name()));
      });
  host.takeEvents();
}

constexpr auto nothingPending =
    "log warning Received callback with no active payment, initialization, transaction list, full refund, "
    "partial "
    "refund, capture, clear data, reboot, or save.";

TEST(CallbackRouting, WithNothingPendingWarnsAndRefuses) {
  TestHost host;
  EXPECT_FALSE(host.sdk->handleCallback(approved));
  EXPECT_EQ(host.takeEvents(), Events{nothingPending});
}

TEST(CallbackRouting, FinishesThePaymentOnce) {
  TestHost host;
  startPayment(host);
  EXPECT_TRUE(host.sdk->handleCallback(approved));
  EXPECT_EQ(host.takeEvents(), Events{"completion success"});
  EXPECT_FALSE(host.sdk->handleCallback(approved));
  EXPECT_EQ(host.takeEvents(), Events{nothingPending});
}

TEST(CallbackRouting, OfAnotherURLLeavesThePaymentPending) {
  TestHost host;
  startPayment(host);
  EXPECT_FALSE(host.sdk->handleCallback(elsewhere));
  EXPECT_EQ(host.takeEvents(),
            Events{"log warning Ignored callback that did not match the active payment return URL."});
  EXPECT_TRUE(host.sdk->handleCallback(approved));
}

TEST(CallbackRouting, CountsAFailureAsFinished) {
  for (const char* query : {"", "?request_id=other&status=approved", "?status=whatever"}) {
    TestHost host;
    startPayment(host);
    EXPECT_TRUE(host.sdk->handleCallback(URL::parse("myshop://done" + std::string(query)).value()));
    EXPECT_EQ(host.takeEvents(), Events{"completion failure"}) << query;
    EXPECT_FALSE(host.sdk->isPaymentInProgress());
  }
}

TEST(CallbackRouting, CanBeAskedWithoutFinishingAnything) {
  TestHost host;
  EXPECT_FALSE(host.sdk->isPaymentCallback(approved));
  EXPECT_EQ(host.sdk->paymentResult(approved), std::nullopt);
  startPayment(host);
  EXPECT_TRUE(host.sdk->isPaymentCallback(approved));
  EXPECT_TRUE(host.sdk->isPaymentCallback(callbackURL)) << "whatever the query says";
  EXPECT_FALSE(host.sdk->isPaymentCallback(elsewhere));
  EXPECT_EQ(host.sdk->paymentResult(elsewhere), std::nullopt);
  for (int times = 0; times < 2; ++times) {
    const auto result = host.sdk->paymentResult(approved);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->name(), "success");
  }
  EXPECT_TRUE(host.sdk->isPaymentInProgress());
  EXPECT_EQ(host.takeEvents(), Events{});
}

TEST(CallbackRouting, MayBeCalledFromACompletion) {
  TestHost host;
  bool inner = true;
  host.sdk->startPayment(
      PaymentRequest({.requestId = "A-1", .amount = 1, .currency = "EUR", .callbackURL = callbackURL}),
      [&](const PaymentResult&) { inner = host.sdk->handleCallback(approved); });
  EXPECT_TRUE(host.sdk->handleCallback(approved));
  EXPECT_FALSE(inner);
}

TEST(Logger, MayReplaceItselfFromWithinACall) {
  TestHost host;
  std::vector<int> calls;
  host.sdk->setLogger([&](TilvaneLogLevel, std::string_view) {
    calls.push_back(1);
    host.sdk->setLogger([&](TilvaneLogLevel, std::string_view) { calls.push_back(2); });
    calls.push_back(1);
  });
  EXPECT_FALSE(host.sdk->handleCallback(approved));
  EXPECT_FALSE(host.sdk->handleCallback(approved));
  EXPECT_EQ(calls, (std::vector{1, 1, 2}));
  host.sdk->setLogger(nullptr);
  EXPECT_FALSE(host.sdk->logger());
  EXPECT_FALSE(host.sdk->handleCallback(approved));
}

}  // namespace
}  // namespace tilvanego
