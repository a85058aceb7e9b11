#include <thread>

#include "tests/facade/RestartedHost.h"
#include "tests/support/AllocationCount.h"

namespace tilvanego::test {
namespace {

PaymentRequest requestOf(const std::string& id) { return fullRequest<payment>(done, id); }

/// Notes "ID SUMMARY" of each result.
struct Ends {
  [[nodiscard]] auto of(std::string id) {
    return [this, id = std::move(id)](const PaymentResult& result) {
      names.push_back(id + " " + summary(result));
    };
  }
  Names names;
};

/// Calls a function when its last copy ends, as what a host's lambda captured.
std::shared_ptr<void> atEnd(std::function<void()> call) {
  return {nullptr, [call = std::move(call)](void*) { call(); }};
}

/// A hook that acts at the nth call of a port, once.
HookedHost::Hook once(Port port, int nth, std::function<void()> act) {
  return [=, left = std::make_shared<int>(nth)](Port called, std::string_view) {
    if (called == port && --*left == 0) act();
  };
}

[[noreturn]] void fail() { throw std::runtime_error("the host's own"); }

TEST(HostCode, ThatAReplacedLoggerCapturedMaySetAnother) {
  HookedHost host;
  Names heard;
  const auto logger = [&heard](std::string name, std::shared_ptr<void> held = nullptr) {
    return [&heard, name = std::move(name), held = std::move(held)](TilvaneLogLevel, std::string_view) {
      heard.push_back(name);
    };
  };
  host.sdk->setLogger(logger("first", atEnd([&] { host.sdk->setLogger(logger("third")); })));
  host.sdk->setLogger(logger("second"));
  EXPECT_FALSE(host.sdk->handleCallback(done));
  EXPECT_EQ(heard, Names{"third"});
}

TEST(HostCode, ThatEndsTheInstanceFromACompletionLeavesNothingBehind) {
  HookedHost host;
  bool ended = false;
  const auto held = [&] {
    return atEnd([&, sdk = host.sdk.get()] {
      ended = true;
      sdk->reboot(fullRequest<OperationKind::reboot>(done), nullptr);
      EXPECT_FALSE(sdk->isRebootInProgress()) << "nothing starts any more";
    });
  };
  host.sdk->save(fullRequest<OperationKind::save>(done), [last = held()](const SaveResult&) { FAIL(); });
  host.sdk->initialize(fullRequest<OperationKind::initialization>(done),
                       [&](const InitializationResult&) { host.sdk.reset(); });
  EXPECT_TRUE(host.sdk->handleCallback(done));
  EXPECT_TRUE(ended);
}

/// Has an answer to the request lie on the pasteboard; gives the callback that names it.
URL sealedResult(HookedHost& host, const std::string& requestId) {
  const std::string handoffId(43, 'A');
  host.leaveResult(handoffId, requestId);
  return parsedURL("shop://done?transport=pasteboard&resultHandoffId=" + handoffId);
}

TEST(HostCode, AnAnswerReadForACancelledPaymentEndsNoOther) {
  for (const Port port : {Port::clock, Port::pasteboardRead, Port::pasteboardWrite}) {
    HookedHost host;
    Ends ends;
    host.sdk->startPayment(requestOf("1"), ends.of("1"));
    const auto replace = [&] {
      host.sdk->cancelPendingPayment();
      host.sdk->startPayment(requestOf("2"), ends.of("2"));
    };
    const URL callback = sealedResult(host, "1");
    host.hook = once(port, 1, replace);
    EXPECT_FALSE(host.sdk->handleCallback(callback));
    EXPECT_EQ(ends.names, Names{}) << "read for the first, which was cancelled";
    EXPECT_TRUE(host.sdk->isPaymentInProgress());

    const URL another = sealedResult(host, "2");
    host.hook = once(port, 1, replace);
    EXPECT_EQ(host.sdk->paymentResult(another), std::nullopt);
    EXPECT_TRUE(host.sdk->handleCallback(parsedURL("shop://done?request_id=2&status=approved")));
    EXPECT_EQ(ends.names, Names{"2 success+"});
  }
}

TEST(HostCode, MayEndTheURLThatItsCallIsAbout) {
  HookedHost host;
  Ends ends;
  host.sdk->initialize(fullRequest<OperationKind::initialization>(parsedURL("shop://ready")), nullptr);
  host.sdk->startPayment(requestOf("1"), ends.of("1"));
  auto url = std::make_unique<URL>(parsedURL("shop://done?status=approved&long=enough-to-be-on-the-heap"));
  host.hook = [&](Port, std::string_view) { url.reset(); };
  EXPECT_TRUE(host.sdk->handleCallback(*url));
  EXPECT_EQ(url, nullptr);
  EXPECT_EQ(ends.names, Names{"1 success+"});
}

const std::string unbuilt = "1 failure(invalidRequest: Unable to build Tilvane payment URL.)";
const std::string unavailable =
    "1 failure(pasteboardHandoffUnavailable: Pasteboard handoff is not available on this platform.)";
const std::string notInstalled =
    "1 failure(paymentAppNotInstalled: Tilvane payment app is not installed or cannot be opened.)";

TEST(HostCode, APortThatThrowsFailsAsItCouldHaveAndLeavesNoSlotTaken) {
  struct Throw {
    Transport transport;
    Port port;
    /// How the payment ends then, if it does.
    std::optional<std::string> ending;
    std::size_t opened;
    std::string_view logged = {};
  };
  for (const auto& [transport, throwing, ending, opened, logged] :
       {Throw{Transport::pasteboard(), Port::debugOutput, std::nullopt, 1},
        Throw{Transport::urlScheme(), Port::logger, std::nullopt, 1},
        Throw{Transport::gzip(), Port::clock, unbuilt, 0},
        Throw{Transport::pasteboard(), Port::clock, unbuilt, 0},
        Throw{Transport::automatic(0), Port::clock, unbuilt, 0},
        Throw{Transport::pasteboard(), Port::randomSource, unbuilt, 0},
        Throw{Transport::pasteboard(), Port::pasteboardWrite, unavailable, 0,
              "The payment can't be left on the pasteboard. Pasteboard::setItems threw"},
        Throw{Transport::urlScheme(), Port::application, notInstalled, 1}}) {
    SCOPED_TRACE(transport.text() + " " + std::to_string(static_cast<int>(throwing)));
    HookedHost host;
    Ends ends;
    std::string messages;
    host.hook = [&, port = throwing](Port called, std::string_view text) {
      if (called == Port::logger) messages += text;
      if (called == port) fail();
    };
    EXPECT_NO_THROW(host.sdk->startPayment(requestOf("1"), transport, ends.of("1")));
    if (throwing == Port::application) {
      EXPECT_EQ(ends.names, Names{}) << "told in a later turn, as any link that isn't opened";
      host.handlers.front()(false);
      EXPECT_EQ(host.loop.runPending(), 1U) << "told once, though the handler was kept and called";
    }
    EXPECT_EQ(host.opened.size(), opened);
    EXPECT_EQ(ends.names, ending ? Names{*ending} : Names{});
    EXPECT_EQ(host.sdk->isPaymentInProgress(), !ending);
    EXPECT_TRUE(messages.contains(logged)) << messages;
  }
}

TEST(HostCode, AnAllocationThatFailsDuringALaunchLeavesNoSlotTaken) {
  for (const auto& transport : {Transport::urlScheme(), Transport::gzip(), Transport::pasteboard()}) {
    bool hasFailed = true;
    for (std::size_t number = 1; hasFailed; ++number) {
      SCOPED_TRACE(transport.text() + " " + std::to_string(number));
      HookedHost host;
      Ends ends;
      auto request = requestOf("1");
      auto completion = ends.of("1");
      bool threw = false;
      failAllocation(number);
      try {
        host.sdk->startPayment(std::move(request), transport, std::move(completion));
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      hasFailed = failAllocation(0) == 0;
      // A link that could not be opened ends the payment in a later turn.
      host.loop.runPending();
      EXPECT_EQ(host.sdk->isPaymentInProgress(), !threw && ends.names.empty());
      EXPECT_TRUE(!host.sdk->isPaymentInProgress() || host.opened.size() == 1);
    }
  }
}

TEST(HostCode, AnOpenThatThrowsAfterItsReportIsAsItWasReported) {
  HookedHost host;
  Ends ends;
  host.hook = once(Port::application, 1, [&] {
    host.handlers.front()(true);
    fail();
  });
  EXPECT_NO_THROW(host.sdk->startPayment(requestOf("1"), ends.of("1")));
  host.loop.runPending();
  EXPECT_EQ(ends.names, Names{});
  EXPECT_TRUE(host.sdk->isPaymentInProgress());
}

TEST(HostCode, AClockOrPasteboardThatThrowsFailsTheAnswerThatNeedsIt) {
  const std::string missing = "pasteboardHandoffMissing: Pasteboard handoff payload is missing.";
  const std::string undecided =
      "pasteboardHandoffDecryptionFailed: Pasteboard handoff payload could not be decrypted.";
  for (const auto& [port, error] : {std::pair{Port::pasteboardRead, missing}, {Port::clock, undecided}}) {
    HookedHost host;
    Ends ends;
    host.sdk->startPayment(requestOf("1"), ends.of("1"));
    const URL callback = sealedResult(host, "1");
    host.hook = [throwing = port](Port called, std::string_view) {
      if (called == throwing) fail();
    };
    EXPECT_TRUE(host.sdk->handleCallback(callback));
    EXPECT_EQ(ends.names, Names{"1 failure(" + error + ")"});
  }
  HookedHost host;
  Ends ends;
  host.sdk->startPayment(requestOf("1"), ends.of("1"));
  const URL callback = sealedResult(host, "1");
  host.hook = once(Port::pasteboardWrite, 1, fail);
  EXPECT_TRUE(host.sdk->handleCallback(callback)) << "an answer that can't be cleared is an answer";
  EXPECT_EQ(ends.names, Names{"1 success+"});
}

TEST(HostCode, WhatACompletionThrowsLeavesByTheCallThatRanIt) {
  HookedHost host;
  const auto throwing = [](const PaymentResult&) { fail(); };
  const auto startAgain = [&] {
    EXPECT_FALSE(host.sdk->isPaymentInProgress()) << "the slot is empty by then";
    host.sdk->startPayment(requestOf("1"), throwing);
  };
  EXPECT_THROW(host.sdk->startPayment(requestOf(""), throwing), std::runtime_error);
  startAgain();
  EXPECT_THROW(static_cast<void>(host.sdk->handleCallback(done)), std::runtime_error);
  startAgain();
  host.handlers.back()(false);
  EXPECT_THROW(host.loop.runPending(), std::runtime_error);
  startAgain();
  EXPECT_TRUE(host.sdk->isPaymentInProgress());
}

TEST(HostCodeDeathTest, AMainQueueThatThrowsEndsTheProcessByItsName) {
  struct Full final : MainQueue {
    void post(std::function<void()>) override { fail(); }
    [[nodiscard]] bool isCurrent() const override { return true; }
  };
  EXPECT_DEATH(
      {
        HookedHost host;
        Full full;
        Platform platform = host.platform();
        platform.mainQueue = &full;
        const auto sdk = detail::FacadeAccess::make(std::move(platform));
        sdk->startPayment(requestOf("1"), nullptr);
        host.handlers.front()(true);
      },
      "MainQueue::post threw std::runtime_error");
}

TEST(WithoutAPasteboard, AnAnswerByItIsMissing) {
  HookedHost host;
  Ends ends;
  const URL callback = sealedResult(host, "2");
  Platform platform = host.platform();
  platform.pasteboard = nullptr;
  const auto sdk = detail::FacadeAccess::make(std::move(platform));
  sdk->startPayment(requestOf("2"), ends.of("2"));
  EXPECT_TRUE(sdk->handleCallback(callback));
  EXPECT_EQ(ends.names.back(), "2 failure(pasteboardHandoffMissing: Pasteboard handoff payload is missing.)");
}

TEST(WithoutAPortDeathTest, TheProcessEndsWithTheNameOfWhatIsMissing) {
  testing::FLAGS_gtest_death_test_style = "fast";
  const std::vector<std::pair<std::string, void (*)(Platform&)>> ports{
      {"mainQueue", [](Platform& platform) { platform.mainQueue = nullptr; }},
      {"clock", [](Platform& platform) { platform.clock = nullptr; }},
      {"randomSource", [](Platform& platform) { platform.randomSource = nullptr; }},
      {"debugOutput", [](Platform& platform) { platform.debugOutput = nullptr; }},
      {"application", [](Platform& platform) { platform.application = nullptr; }},
  };
  HookedHost host;
  for (const auto& [name, remove] : ports) {
    Platform platform = host.platform();
    remove(platform);
    EXPECT_DEATH(TilvaneGo::usePlatform(std::move(platform)), "Platform::" + name + " is null");
    EXPECT_DEATH(static_cast<void>(detail::FacadeAccess::make(std::move(platform))),
                 "Platform::" + name + " is null");
  }
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
    EXPECT_FALSE(host.sdk->handleCallback(done));
  }
  EXPECT_EQ(calls, (std::vector{1, 1, 2}));
  host.sdk->setLogger(nullptr);
  EXPECT_FALSE(host.sdk->logger());
  EXPECT_FALSE(host.sdk->handleCallback(done));
}

TEST(StartPaymentDeathTest, FromAnotherThreadEndsTheProcessWithAMessage) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        TestHost host;
        host.loop.runPending();
        std::thread([&] { host.sdk->startPayment(requestOf("A-1"), nullptr); }).join();
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

static_assert(std::is_final_v<TilvaneGo> && !std::is_destructible_v<TilvaneGo>);

}  // namespace
}  // namespace tilvanego::test
