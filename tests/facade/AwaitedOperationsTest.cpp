#include <barrier>
#include <thread>

#include "tests/facade/Till.h"
#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

using Events = std::vector<std::string>;
using namespace std::chrono_literals;

const URL callbackURL = parsedURL("shop://done");
const URL approved = parsedURL("shop://done?status=approved");
constexpr auto cancelled = "cancelled while it was awaited; the payment application was not told";

template <OperationKind kind>
Till await(TestHost& host, OperationWaiting waiting, URL url = callbackURL) {
  try {
    auto task = ((*host.sdk).*operationFunctions<kind>.await)(fullRequest<kind>(url), std::move(waiting));
    const auto result = co_await std::move(task);
    host.note("went on: " + summary(result));
  } catch (const OperationTimedOut& error) {
    host.note(error.description());
  } catch (const CancellationError& error) {
    host.note(error.description());
  }
}

/// A payment that is awaited, and whatever a test does about it.
struct Play : TestHost {
  void begin(std::optional<std::chrono::milliseconds> timeout = std::nullopt) {
    till.emplace(await<OperationKind::payment>(*this, OperationWaiting(source.token(), timeout)));
    till->begin();
  }
  void callBack() { EXPECT_TRUE(sdk->handleCallback(approved)); }
  /// Another payment, which nothing that belongs to the awaited one may end.
  void startAnother() {
    sdk->startPayment(fullRequest<OperationKind::payment>(callbackURL), noting(*this, "another"));
  }
  void whileOpening(std::function<void()> act) {
    application->setOnOpen([act = std::move(act)](const URL&) { act(); });
  }

  /// What the coroutine and the other payment noted since the last call.
  Events takeNotes() {
    Events notes = takeEvents();
    std::erase_if(notes, [](const std::string& event) {
      return event.starts_with("debug ") || event.starts_with("log ") || event.starts_with("open ");
    });
    return notes;
  }

  StopSource source;
  std::optional<Till> till;
};

TEST(AwaitedPayment, AndItsSlotAgreeWhateverComesFirst) {
  struct Row {
    std::string_view moment;
    std::function<void(Play&)> act;
    /// Once the main queue has run.
    Events notes;
    bool pendingAfterwards = false;
    /// The coroutine has gone on before: it never waited, or the queue has run.
    bool wentOn = false;
  };
  const std::string success = "went on: success+";
  const std::string timedOut =
      "The payment had no result within 60000 ms, and is no longer waited for. The customer may still pay: "
      "look "
      "it up by a transaction list (getTransactionList) before you start it again.";
  const std::vector<Row> rows{
      {"a callback", [](Play& play) { play.begin(), play.callBack(); }, {success}},
      {"a callback while the link is opened",
       [](Play& play) { play.whileOpening([&] { play.callBack(); }), play.begin(); },
       {success}},
      {"a link that isn't opened",
       [](Play& play) { play.begin(), play.application->reportOldest(false); },
       {"went on: failure(paymentAppNotInstalled: Tilvane payment app is not installed or cannot be "
        "opened.)"}},
      {"a start that is refused",
       [](Play& play) { play.startAnother(), play.begin(); },
       {"went on: failure(paymentInProgress: A payment is already in progress.)"},
       true},
      {"a stop of a start that is refused",
       [](Play& play) { play.startAnother(), play.begin(), play.source.requestStop(), play.till.reset(); },
       {},
       true},
      {"a stop before",
       [](Play& play) { play.source.requestStop(), play.begin(); },
       {CancellationError().description()}},
      {"a stop while the link is opened",
       [](Play& play) { play.whileOpening([&] { play.source.requestStop(); }), play.begin(); },
       {cancelled}},
      {"a stop that takes effect while the link is opened",
       [](Play& play) {
         play.whileOpening([&] { play.source.requestStop(), play.loop.runPending(); }), play.begin();
       },
       {cancelled}},
      {"a stop", [](Play& play) { play.begin(), play.source.requestStop(); }, {cancelled}},
      {"a stop after the time-out",
       [](Play& play) { play.begin(60s), play.timer->advance(60s), play.source.requestStop(); },
       {timedOut}},
      {"a stop and a callback before it took effect",
       [](Play& play) { play.begin(), play.source.requestStop(), play.callBack(); },
       {success}},
      {"a stop after the callback",
       [](Play& play) { play.begin(), play.callBack(), play.source.requestStop(); },
       {success}},
      {"a stop after the end",
       [](Play& play) {
         play.begin(), play.callBack(), play.loop.runPending(), play.startAnother(),
             play.source.requestStop();
       },
       {success},
       true,
       true},
      {"a stop after another payment took the slot",
       [](Play& play) { play.begin(), play.callBack(), play.startAnother(), play.source.requestStop(); },
       {success},
       true},
      {"the time-out", [](Play& play) { play.begin(60s), play.timer->advance(60s); }, {timedOut}},
      {"the time-out of a payment that is over",
       [](Play& play) { play.begin(60s), play.callBack(), play.startAnother(), play.timer->advance(60s); },
       {success},
       true},
      {"a cancel", [](Play& play) { play.begin(), play.sdk->cancelPendingPayment(); }, {cancelled}},
      {"a cancel, then another payment",
       [](Play& play) { play.begin(60s), play.sdk->cancelPendingPayment(), play.startAnother(); },
       {cancelled},
       true},
      {"the end of the instance", [](Play& play) { play.begin(60s), play.sdk.reset(); }, {cancelled}},
      {"a dropped await", [](Play& play) { play.begin(60s), play.till.reset(); }, {}},
      {"an await that is dropped while its link is opened",
       [](Play& play) {
         play.whileOpening([&] { play.till.reset(); });
         play.begin();
       },
       {}},
      {"an await that is dropped after its callback",
       [](Play& play) { play.begin(), play.callBack(), play.startAnother(), play.till.reset(); },
       {},
       true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.moment);
    Play play;
    row.act(play);
    Events notes = play.takeNotes();
    EXPECT_EQ(!notes.empty(), row.wentOn) << "it goes on in a later turn";
    play.loop.runPending();
    std::ranges::move(play.takeNotes(), std::back_inserter(notes));
    EXPECT_EQ(notes, row.notes);
    // What comes too late.
    const auto isPending = [&] { return play.sdk && play.sdk->isPaymentInProgress(); };
    play.source.requestStop();
    if (play.sdk) play.timer->advance(std::chrono::hours(1));
    play.loop.runPending();
    EXPECT_EQ(play.takeNotes(), Events{});
    EXPECT_EQ(isPending(), row.pendingAfterwards);
    play.till.reset();
    EXPECT_EQ(isPending(), row.pendingAfterwards);
  }
}

TEST(AwaitedOperations, OfEachKindGiveTheirResultOrTimeOut) {
  forEachOperation([]<OperationKind kind>() {
    SCOPED_TRACE(rawText(kind));
    TestHost host;
    const auto pending = [&] { return (*host.sdk.*operationFunctions<kind>.isInProgress)(); };
    {
      const Till till = await<kind>(host, OperationWaiting::untilItEnds());
      till.begin();
      EXPECT_TRUE(pending() && host.timer->waitingCount() == 0);
      EXPECT_TRUE(host.sdk->handleCallback(parsedURL("shop://done?request_id=B")));
      host.loop.runPending();
      EXPECT_TRUE(host.takeEvents().back().starts_with("went on: failure(requestIdMismatch"));
    }
    const Till till = await<kind>(host, OperationWaiting(2s));
    till.begin();
    host.timer->advance(1999ms);
    host.loop.runPending();
    EXPECT_TRUE(pending());
    host.timer->advance(1ms);
    host.loop.runPending();
    EXPECT_FALSE(pending());
    EXPECT_TRUE(
        host.takeEvents().back().starts_with("The " + operationWords(kind) + " had no result within"));
  });
}

TEST(AwaitedOperations, OfTwoKindsWaitSideBySide) {
  Play play;
  play.begin(60s);
  const Till list =
      await<OperationKind::transactionList>(play, OperationWaiting(30s), parsedURL("shop://list"));
  list.begin();
  EXPECT_TRUE(play.sdk->isPaymentInProgress() && play.sdk->isTransactionListInProgress());
  play.timer->advance(30s);
  play.loop.runPending();
  EXPECT_TRUE(play.sdk->isPaymentInProgress() && !play.sdk->isTransactionListInProgress());
  play.callBack();
  play.loop.runPending();
  const Events notes = play.takeNotes();
  ASSERT_EQ(notes.size(), 2U);
  EXPECT_TRUE(notes[0].starts_with("The transaction list had no result within 30000 ms"));
  EXPECT_EQ(notes[1], "went on: success+");
}

TEST(AwaitedOperations, LeaveTheOverloadsWithACompletionAsTheyWere) {
  TestHost host;
  host.sdk->startPayment(fullRequest<OperationKind::payment>(callbackURL), {});
  host.sdk->startPayment(fullRequest<OperationKind::payment>(callbackURL), PaymentLaunchTransport::gzip(),
                         {});
  host.sdk->sendRequest("", "", "", "", "", "", "", nullptr);
  host.sdk->reboot(fullRequest<OperationKind::reboot>(callbackURL), nullptr);
  host.sdk->cancelPendingPayment();
  host.takeEvents();
  auto task = host.sdk->startPayment(fullRequest<OperationKind::payment>(callbackURL),
                                     PaymentLaunchTransport::gzip());
  EXPECT_EQ(host.takeEvents(), Events{}) << "a task begins when it is awaited";
  detach([](Task<PaymentResult> payment) -> Task<void> { co_await std::move(payment); }(std::move(task)));
  EXPECT_NE(host.application->openedURLs().back().absoluteString().find("transport=gzip"), std::string::npos);
  EXPECT_TRUE(host.sdk->handleCallback(parsedURL("shop://done?status=rebooted")));
  EXPECT_TRUE(host.sdk->handleCallback(approved));
  host.loop.runPending();
}

TEST(AwaitedOperations, ThatCannotBeTimedAreNotStarted) {
  struct HostTimer final : Timer {
    explicit HostTimer(std::function<void()> block) : runs(std::move(block)) {}
    void after(std::chrono::milliseconds, std::function<void()>) override { runs(); }
    std::function<void()> runs;
  };
  const StopSource source;
  const std::pair<std::function<void()>, std::string> timers[] = {
      {[] { throw std::runtime_error("no"); }, "no"},
      {[&] { source.requestStop(); }, CancellationError().what()},
  };
  for (const auto& [act, failure] : timers) {
    RunLoop loop;
    Platform platform = Platform::standard(loop);
    platform.timer = std::make_unique<HostTimer>(act);
    auto owned = std::make_unique<MemoryApplication>(loop);
    const MemoryApplication& application = *owned;
    platform.application = std::move(owned);
    const auto sdk = detail::FacadeAccess::make(std::move(platform));
    std::string thrown;
    detach([](TilvaneGo& instance, StopToken stop, std::string& what) -> Task<void> {
      auto payment = instance.startPayment(fullRequest<OperationKind::payment>(callbackURL),
                                           OperationWaiting(std::move(stop), 1s));
      try {
        co_await std::move(payment);
      } catch (const std::exception& error) {
        what = error.what();
      }
    }(*sdk, source.token(), thrown));
    EXPECT_EQ(thrown, "") << "it goes on in a later turn";
    loop.runPending();
    EXPECT_EQ(thrown, failure);
    EXPECT_FALSE(sdk->isPaymentInProgress());
    EXPECT_TRUE(application.openedURLs().empty());
  }
}

// A thread requests stopping while the main thread handles the callback: one of both is first.
TEST(AwaitedOperations, EndOnceWhateverThreadIsFirst) {
  for (int round = 0; round < 200; ++round) {
    Play play;
    play.begin();
    std::barrier meeting(2);
    std::thread stopper([&] {
      meeting.arrive_and_wait();
      play.source.requestStop();
    });
    meeting.arrive_and_wait();
    play.loop.runPending();
    const bool taken = play.sdk->handleCallback(approved);
    stopper.join();
    play.loop.runPending();
    EXPECT_FALSE(play.sdk->isPaymentInProgress());
    EXPECT_EQ(play.takeNotes(), Events{taken ? "went on: success+" : cancelled});
  }
}

}  // namespace
}  // namespace tilvanego::test
