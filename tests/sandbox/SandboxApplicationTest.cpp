#include <span>

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/sandbox/TestHost.h>
#include <tilvanego/values/Literals.h>

#include "tests/support/Test.h"

namespace tilvanego::sandbox {
namespace {

/// What happens to the payments of a host, in order.
struct Rehearsal {
  Rehearsal() {
    sandbox.setObserver([this](const URL&, const auto& handled) {
      events.push_back(handled ? std::string(rawText(handled->outcome)) : handled.error().message);
    });
  }

  void pay(std::string_view amount,
           const PaymentLaunchTransport& transport = PaymentLaunchTransport::urlScheme()) {
    host.sdk().startPayment(PaymentRequest({.requestId = "A-1",
                                            .amount = *Decimal::parse(amount),
                                            .currency = "EUR",
                                            .callbackURL = *URL::parse("shop://done")}),
                            transport,
                            [this](const PaymentResult& result) { events.emplace_back(result.name()); });
    events.emplace_back("started");
    host.loop().runPending();
  }

  TestHost host;
  SandboxApplication& sandbox = host.paymentApplication();
  std::vector<std::string> events;
};

using Events = std::vector<std::string>;

TEST(SandboxApplication, AnswersOnTheMainQueueAsTheAmountDecidesUnlessTheHostSetAnOutcome) {
  Rehearsal rehearsal;
  rehearsal.pay("12");
  rehearsal.pay("12.01");
  rehearsal.sandbox.setOutcome(Outcome::cancel);
  rehearsal.pay("12.01");
  EXPECT_EQ(rehearsal.events, (Events{"approve", "started", "success",   //
                                      "decline", "started", "declined",  //
                                      "cancel", "started", "cancelled"}));
}

TEST(SandboxApplication, FailsWhatNeedsAPortThatThrows) {
  struct ThrowingClock : Clock {
    [[nodiscard]] Date now() const override { throw std::runtime_error("no time"); }
  } clock;
  struct ThrowingRandomSource : RandomSource {
    bool fill(std::span<std::uint8_t>) override { throw std::runtime_error("no bytes"); }
  } randomSource;
  MemoryPasteboard pasteboard(std::make_shared<SystemClock>());
  const std::string start = "tilvanego://payment/v1/start?";
  const auto link = LaunchLink::read(*URL::parse(
      start + "request_id=1&amount=1&type=sale&currency=EUR&return_url=a:b&require_reader_ready=true"));
  ASSERT_TRUE(link);
  const std::string message = "the clock or the random source of this sandbox threw an exception";
  const HandoffPorts withoutTime{.pasteboard = &pasteboard, .clock = &clock};
  const HandoffPorts withoutBytes{.pasteboard = &pasteboard, .randomSource = &randomSource};
  EXPECT_EQ(respond(*link, {.transport = Transport::gzip}, withoutTime).error().message, message);
  EXPECT_EQ(respond(*link, {.transport = Transport::pasteboard}, withoutTime).error().message, message);
  EXPECT_EQ(respond(*link, {.transport = Transport::pasteboard}, withoutBytes).error().message, message);
  const auto sealed =
      URL::parse(start + "transport=pasteboard&handoffId=h&callbackUrl=a:b&requestId=1&sdkVersion=1.0.0");
  EXPECT_EQ(LaunchLink::read(*sealed, withoutTime).error().message, message);
}

TEST(SandboxApplication, HasAnObserverThatOnlyListens) {
  Rehearsal rehearsal;
  rehearsal.sandbox.setObserver([](const URL&, const auto&) { throw std::runtime_error("an observer's"); });
  rehearsal.pay("12");
  EXPECT_EQ(rehearsal.events, (Events{"started", "success"})) << "answered all the same";
}

TEST(SandboxApplication, AnswersAsTheRequestCameUnlessTheHostSetATransport) {
  Rehearsal rehearsal;
  Events callbacks;
  rehearsal.sandbox.setObserver([&](const URL&, const auto& handled) {
    callbacks.push_back(handled->callback->absoluteString().substr(0, 27));
  });
  rehearsal.pay("12", PaymentLaunchTransport::gzip());
  rehearsal.pay("12", PaymentLaunchTransport::pasteboard());
  rehearsal.sandbox.setTransport(Transport::gzip);
  rehearsal.pay("12");
  rehearsal.host.sdk().reboot(RebootRequest({.requestId = "A-2", .callbackURL = *URL::parse("shop://done")}),
                              nullptr);
  rehearsal.host.loop().runPending();
  EXPECT_EQ(callbacks, (Events{"shop://done?transport=gzip&", "shop://done?transport=paste",
                               "shop://done?transport=gzip&", "shop://done?request_id=A-2&"}));
  EXPECT_EQ(std::ranges::count(rehearsal.events, "success"), 3);
}

TEST(SandboxApplication, LetsTheSetFaultHappenAndLeavesPendingWhatItCantOrWontAnswer) {
  Rehearsal rehearsal;
  rehearsal.sandbox.setFault(TransportFault::wrongDirection);
  rehearsal.pay("12", PaymentLaunchTransport::pasteboard());
  EXPECT_EQ(rehearsal.events, (Events{"approve", "started", "failure"}));
  rehearsal.pay("12");
  EXPECT_EQ(rehearsal.events.at(3),
            "the fault wrong-direction needs an answer by gzip or pasteboard, and this one travels by url");
  EXPECT_TRUE(rehearsal.host.sdk().isPaymentInProgress());
  Rehearsal silent;
  silent.pay("12.04");
  EXPECT_EQ(silent.events, (Events{"silent", "started"}));
  EXPECT_TRUE(silent.host.sdk().isPaymentInProgress());
}

TEST(SandboxApplication, OpensNothingWhileItIsNotInstalled) {
  Rehearsal rehearsal;
  rehearsal.sandbox.setInstalled(false);
  rehearsal.pay("12");
  EXPECT_EQ(rehearsal.events, (Events{"started", "failure"}));
  EXPECT_FALSE(rehearsal.host.sdk().isPaymentInProgress());
}

TEST(SandboxApplication, OpensItsOwnSchemeEvenIfItCantReadTheLink) {
  Rehearsal rehearsal;
  std::vector<bool> opened;
  for (const std::string_view link : {"tilvanego://payment/v2/start", "mailto:a"}) {
    rehearsal.sandbox.openURL(*URL::parse(link), [&](bool wasOpened) { opened.push_back(wasOpened); });
  }
  EXPECT_TRUE(opened.empty());
  rehearsal.host.loop().runPending();
  EXPECT_EQ(opened, (std::vector{true, false}));
  EXPECT_EQ(rehearsal.events, (Events{"the link's path is \"/v2/start\", which names no operation"}));
}

TEST(SandboxApplication, ReportsARequestAsOpenedThatANewerOneHasOvertaken) {
  Rehearsal rehearsal;
  rehearsal.sandbox.setInstalled(false);
  std::vector<std::string> answers;
  for (const std::string_view link : {"tilvanego://payment/v1/reboot?1", "tilvanego://payment/v1/save?1",
                                      "Tilvanego://PAYMENT/v1/reboot?2"}) {
    rehearsal.sandbox.openURL(*URL::parse(link), [&answers, link](bool opened) {
      answers.push_back(std::string(link.substr(23)) + (opened ? " yes" : " no"));
    });
  }
  rehearsal.host.loop().runPending();
  EXPECT_EQ(answers, (Events{"reboot?1 yes", "save?1 no", "reboot?2 no"}));
}

TEST(SandboxApplication, AnswersNobodyOnceItIsGone) {
  RunLoop loop;
  int calls = 0;
  auto sandbox = std::make_unique<SandboxApplication>(loop, [&](const URL&) { ++calls; });
  sandbox->openURL(*URL::parse("tilvanego://payment/v1/reboot?request_id=1&return_url=a:b"),
                   [&](bool) { ++calls; });
  sandbox.reset();
  loop.runPending();
  EXPECT_EQ(calls, 0);
}

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
