#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

using Events = std::vector<std::string>;

constexpr auto nothingPending =
    "log warning Received callback with no active payment, initialization, transaction list, full refund, "
    "partial refund, capture, clear data, reboot, or save.";

std::string unmatched(const Kind& kind) {
  return "log warning Ignored callback that did not match the active " + std::string(kind.words) +
         " return URL.";
}

std::string inProgress(const Kind& kind) {
  const std::string name(kind.name);
  return name + " failure(" + name + "InProgress: " + std::string(kind.inProgress) + ")";
}

/// A callback URL of the kind's own.
URL urlOf(const Kind& kind, std::string_view query = "") {
  return parsedURL("myshop://" + std::string(kind.name) + std::string(query));
}

void start(TestHost& host, const Kind& kind) { kind.start(host, urlOf(kind)); }

class EachKind : public testing::TestWithParam<Kind> {};

TEST_P(EachKind, HasASlotOfItsOwn) {
  const Kind& kind = GetParam();
  TestHost host;
  (*host.sdk.*kind.cancel)();
  EXPECT_EQ(kind.result(host, urlOf(kind)), std::nullopt);
  EXPECT_FALSE((*host.sdk.*kind.isCallback)(urlOf(kind)));
  start(host, kind);
  host.takeEvents();
  for (const Kind& other : allKinds()) {
    EXPECT_EQ((*host.sdk.*other.isInProgress)(), other.name == kind.name) << other.name;
    EXPECT_EQ((*host.sdk.*other.isCallback)(urlOf(kind, "?any")), other.name == kind.name) << other.name;
    if (other.name != kind.name) (*host.sdk.*other.cancel)();
  }
  EXPECT_EQ(kind.result(host, parsedURL("myshop://elsewhere")), std::nullopt);
  for (int times = 0; times < 2; ++times) EXPECT_TRUE(kind.result(host, urlOf(kind))) << "it stays pending";
  EXPECT_EQ(host.takeEvents(), Events{});
}

TEST_P(EachKind, IsRefusedWhileItIsPending) {
  const Kind& kind = GetParam();
  TestHost host;
  start(host, kind);
  kind.start(host, parsedURL("no/scheme"));
  EXPECT_EQ(host.takeEvents().back(), inProgress(kind));
  EXPECT_TRUE(host.sdk->handleCallback(urlOf(kind))) << "the first one waits on";
}

TEST_P(EachKind, ThatIsNotOpenedFailsOnceInALaterTurn) {
  const Kind& kind = GetParam();
  TestHost host;
  start(host, kind);
  host.takeEvents();
  host.application->reportOldest(false);
  EXPECT_TRUE((*host.sdk.*kind.isInProgress)());
  host.loop.runPending();
  const std::string name(kind.name);
  const std::string error = name == "payment" ? "paymentAppNotInstalled" : name + "AppNotInstalled";
  EXPECT_EQ(host.takeEvents(), Events{name + " failure(" + error +
                                      ": Tilvane payment app is not installed or cannot be opened.)"});
  EXPECT_FALSE((*host.sdk.*kind.isInProgress)());
}

TEST_P(EachKind, ThatIsCancelledIsForgotten) {
  const Kind& kind = GetParam();
  TestHost host;
  start(host, kind);
  host.takeEvents();
  (*host.sdk.*kind.cancel)();
  EXPECT_FALSE((*host.sdk.*kind.isInProgress)());
  host.application->reportOldest(false);
  host.loop.runPending();
  EXPECT_FALSE(host.sdk->handleCallback(urlOf(kind)));
  EXPECT_EQ(host.takeEvents(), Events{nothingPending});
}

INSTANTIATE_TEST_SUITE_P(All, EachKind, testing::ValuesIn(allKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST(SideBySide, EightKindsArePendingAtOnceAndARefundKeepsOutTheOther) {
  // The ninth can't be: the two refunds exclude each other.
  for (const std::string_view excluded : {"fullRefund", "partialRefund"}) {
    TestHost host;
    for (const Kind& kind : allKinds()) {
      if (kind.name != excluded) start(host, kind);
    }
    for (const Kind& kind : allKinds()) EXPECT_EQ((*host.sdk.*kind.isInProgress)(), kind.name != excluded);
    start(host, kindNamed(excluded));
    EXPECT_EQ(host.takeEvents().back(), inProgress(kindNamed(excluded)));
  }
}

TEST(Ranks, TheFirstPendingKindTakesACallbackOfItsURL) {
  // All under one URL: each callback finishes the next rank.
  TestHost host;
  const URL shared = parsedURL("myshop://done");
  for (const Kind& kind : allKinds()) kind.start(host, shared);
  host.takeEvents();
  for (const Kind& kind : allKinds()) {
    if (kind.name == "partialRefund") continue;
    EXPECT_TRUE(host.sdk->handleCallback(shared));
    const Events events = host.takeEvents();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_TRUE(events[0].starts_with(std::string(kind.name) + " failure(missingStatus")) << events[0];
  }
}

TEST(Ranks, OnlyAnInitializationPassesOnWhatIsNotItsOwn) {
  TestHost alone;
  start(alone, kindNamed("initialization"));
  alone.takeEvents();
  EXPECT_FALSE(alone.sdk->handleCallback(parsedURL("myshop://elsewhere")));
  EXPECT_EQ(alone.takeEvents(), (Events{unmatched(kindNamed("initialization")), nothingPending}));
  for (const Kind& first : allKinds()) {
    for (const Kind& second : allKinds()) {
      if (&second <= &first) continue;
      if (first.name == "fullRefund" && second.name == "partialRefund") continue;
      TestHost host;
      start(host, first);
      start(host, second);
      host.takeEvents();
      const bool passes = first.name == "initialization";
      EXPECT_EQ(host.sdk->handleCallback(urlOf(second)), passes) << first.name << " before " << second.name;
      const Events events = host.takeEvents();
      EXPECT_EQ(events.front(), unmatched(first));
      EXPECT_EQ(events.size(), passes ? 2U : 1U);
      EXPECT_TRUE((*host.sdk.*first.isInProgress)());
      EXPECT_EQ((*host.sdk.*second.isInProgress)(), !passes);
    }
  }
}

}  // namespace
}  // namespace tilvanego::test
