#include <tilvanego/facade/PendingRecord.h>

#include "tests/facade/RestartedHost.h"

/// Operations that survive their host: an instance ends as a process would, and the next one has its records.
namespace tilvanego::test {
namespace {

TEST(Restart, PutsEachKindBackWithoutItsSecretsAndDeliversItsResultOnce) {
  forEachOperation([]<OperationKind kind>() {
    const std::string name(rawText(kind));
    SCOPED_TRACE(name);
    constexpr auto& functions = operationFunctions<kind>;
    HookedHost host(noRecords());
    Names ends;
    const auto request = fullRequest<kind>(done);
    const auto start = [&] {
      startKind<kind>(*host.sdk, "A-1", done, Transport::gzip(), noting(ends, "first"));
      host.restart();
      EXPECT_FALSE(((*host.sdk).*functions.isInProgress)());
    };
    start();
    for (const std::string_view secret : {secretToken, secretNotes})
      EXPECT_FALSE(host.records->at(name).contains(secret)) << host.records->at(name);
    const auto left = host.sdk->interruptedOperations();
    ASSERT_EQ(left.size(), 1U);
    const bool hasAmount = kind == payment || kind == partialRefund || kind == capture || kind == clearData;
    EXPECT_EQ(left[0],
              (InterruptedOperation{kind, "A-1", hasAmount ? std::optional<Decimal>(1) : std::nullopt,
                                    host.clock->now(), false}));

    const auto resumed = ((*host.sdk).*functions.resume)(noting(ends, "second"));
    ASSERT_TRUE(resumed);
    EXPECT_EQ(detail::pendingRecord(*resumed, {}, {}).request,
              detail::pendingRecord(request, {}, {}).request);
    EXPECT_TRUE(((*host.sdk).*functions.isInProgress)());
    const auto pending = host.sdk->pendingOperations();
    EXPECT_EQ(
        pending,
        (std::vector{PendingOperation{kind, "A-1", host.clock->now(),
                                      kind == payment ? std::optional(Transport::gzip()) : std::nullopt}}));
    EXPECT_FALSE(((*host.sdk).*functions.resume)(nullptr)) << "nothing is left, and one is pending";
    EXPECT_TRUE(host.sdk->handleCallback(answer("request_id=A-1")));
    EXPECT_EQ(std::exchange(ends, {}).size(), 1U);
    EXPECT_EQ(*host.records, Records{});

    // The callback comes first; then the host ends once more.
    start();
    EXPECT_TRUE(((*host.sdk).*functions.isCallback)(done));
    EXPECT_TRUE(host.sdk->handleCallback(answer("request_id=A-1")));
    EXPECT_TRUE(host.sdk->handleCallback(answer("request_id=A-1"))) << "it has come already";
    EXPECT_EQ(interrupted(host), Names{name + " A-1+"});
    if (kind != clearData) host.restart();
    EXPECT_EQ(interrupted(host), Names{name + " A-1+"});
    EXPECT_TRUE(((*host.sdk).*functions.resume)(noting(ends, "second")));
    EXPECT_EQ(ends, Names{}) << "in the main queue's next turn";
    EXPECT_EQ(host.loop.runPending(), 1U);
    EXPECT_EQ(ends.size(), 1U);
    EXPECT_EQ(*host.records, Records{});

    start();
    EXPECT_TRUE(((*host.sdk).*functions.forgetInterrupted)());
    EXPECT_FALSE(((*host.sdk).*functions.forgetInterrupted)());
    EXPECT_EQ(*host.records, Records{});
  });
}

/// Everything that a process leaves behind: the records and the pasteboard.
struct Left {
  Records records;
  PasteboardContents pasteboard;
  bool linkOpened;
  bool callbackGiven;
  int completionsBegun;
  bool callbackHandled;
};

/// Plays a payment and gives what each moment would leave: before and after each call of host code.
std::vector<Left> momentsOf(const Transport& transport, bool isSealed) {
  std::vector<Left> moments;
  HookedHost host(noRecords());
  int begun = 0;
  bool given = false;
  bool handled = false;
  const auto note = [&] {
    moments.push_back(
        {*host.records, host.pasteboard.contents(), !host.opened.empty(), given, begun, handled});
  };
  host.hook = [&](Port, std::string_view) { note(); };
  host.sdk->startPayment(fullRequest<payment>(done, "1"), transport, [&](const PaymentResult&) {
    ++begun;
    note();
  });
  const std::string id(43, 'A');
  if (isSealed) host.leaveResult(id, "1");
  given = true;
  note();
  EXPECT_TRUE(host.sdk->handleCallback(isSealed ? answer("transport=pasteboard&resultHandoffId=" + id)
                                                : answer("status=approved&request_id=1")));
  handled = true;
  note();
  return moments;
}

TEST(Restart, LosesNoResultAndBringsNoneTwiceWhateverTheMomentThatTheHostEnds) {
  for (const auto& transport : {Transport::urlScheme(), Transport::gzip(), Transport::pasteboard()}) {
    for (const bool isSealed : {false, true}) {
      const auto moments = momentsOf(transport, isSealed);
      for (std::size_t number = 0; number < moments.size(); ++number) {
        SCOPED_TRACE(transport.text() + (isSealed ? " sealed " : " ") + std::to_string(number));
        const Left& left = moments[number];
        HookedHost host(std::make_shared<Records>(left.records));
        static_cast<void>(host.pasteboard.setItems(left.pasteboard.items, left.pasteboard.options));
        Names ends;
        const auto operations = host.sdk->interruptedOperations();
        if (operations.empty()) {
          EXPECT_TRUE(!left.linkOpened || left.completionsBegun == 1) << "an opened payment is lost";
          continue;
        }
        EXPECT_TRUE(!left.callbackHandled) << "a result whose completion has returned comes again";
        EXPECT_TRUE(left.completionsBegun == 0 || operations[0].callbackReceived);
        // The system gives the callback to the next process, unless the library has it.
        if (left.callbackGiven && !operations[0].callbackReceived) {
          EXPECT_TRUE(host.sdk->handleCallback(
              isSealed ? answer("transport=pasteboard&resultHandoffId=" + std::string(43, 'A'))
                       : answer("status=approved&request_id=1")));
        }
        EXPECT_TRUE(host.sdk->resumePayment(noting(ends, "1")));
        host.loop.runPending();
        EXPECT_EQ(ends, left.callbackGiven ? Names{"1 success+"} : Names{});
      }
    }
  }
}

TEST(Restart, AResultOfThePasteboardIsReadWhenItsCallbackComesAndOutlivesItThere) {
  HookedHost host(noRecords());
  Names ends;
  const std::string id(43, 'A');
  startAndEnd(host);
  host.leaveResult(id, "1");
  EXPECT_TRUE(host.sdk->handleCallback(answer("transport=pasteboard&resultHandoffId=" + id)));
  EXPECT_EQ(host.pasteboard.items().size(), 0U);
  host.clock->stopAt(Date::fromSecondsSince1970(2e9));
  host.restart();
  EXPECT_TRUE(host.sdk->resumePayment(noting(ends, "1")));
  host.loop.runPending();
  EXPECT_EQ(ends, Names{"1 success+"});
}

TEST(Restart, ACompletionThatStartsAgainHasTwoRecordsAndOneThatThrowsHasNone) {
  HookedHost host(noRecords());
  Names ends;
  Records during;
  host.sdk->startPayment(fullRequest<payment>(done, "1"), [&](const PaymentResult&) {
    host.sdk->startPayment(fullRequest<payment>(done, "2"), [&](const PaymentResult&) { throw Thrown(); });
    during = *host.records;
  });
  EXPECT_TRUE(host.sdk->handleCallback(answer("status=declined&request_id=1")));
  EXPECT_THROW(static_cast<void>(host.sdk->handleCallback(answer("status=approved"))), Thrown);
  EXPECT_EQ(*host.records, Records{});

  HookedHost next(std::make_shared<Records>(during));
  EXPECT_EQ(interrupted(next), (Names{"payment 1+", "payment 2"}));
  EXPECT_TRUE(next.sdk->resumePayment(noting(ends, "1")));
  EXPECT_FALSE(next.sdk->resumePayment(noting(ends, "2"))) << "one at a time";
  next.loop.runPending();
  EXPECT_TRUE(next.sdk->resumePayment(noting(ends, "2")));
  EXPECT_TRUE(next.sdk->handleCallback(answer("status=approved&request_id=2")));
  EXPECT_EQ(ends, (Names{"1 declined+", "2 success+"}));
}

TEST(Restart, ACallbackGoesToTheInterruptedOperationOnlyIfItCanBeItsOwn) {
  struct Case {
    std::string_view query;
    bool isPending;
    bool handled;
    std::string_view left;
    Names ends;
  };
  const Names mismatch{
      "2 failure(requestIdMismatch: Payment callback request ID mismatch. Expected 2, received 3.)+"};
  for (const auto& [query, isPending, handled, left, expected] :
       {Case{"status=approved&request_id=1", false, true, "payment 1+", {}},
        Case{"status=approved", false, true, "payment 1+", {}},
        Case{"status=approved&request_id=3", false, false, "payment 1", {}},
        Case{"status=approved&request_id=1", true, true, "payment 1+", {}},
        Case{"status=approved&sessionId=2", true, true, "payment 1", {"2 success+"}},
        Case{"status=approved", true, true, "payment 1", {"2 success+"}},
        Case{"status=approved&request_id=3", true, true, "payment 1", mismatch}}) {
    SCOPED_TRACE(std::string(query) + (isPending ? " pending" : ""));
    HookedHost host(noRecords());
    Names ends;
    startAndEnd(host);
    if (isPending) host.sdk->startPayment(fullRequest<payment>(done, "2"), noting(ends, "2"));
    EXPECT_EQ(host.sdk->handleCallback(answer(std::string(query))), handled);
    EXPECT_EQ(interrupted(host), Names{std::string(left)});
    EXPECT_EQ(ends, expected);
  }
  HookedHost host(noRecords());
  startAndEnd(host);
  host.sdk->capture(fullRequest<capture>(parsedURL("shop://capture"), "C"), nullptr);
  EXPECT_TRUE(host.sdk->handleCallback(answer("status=approved"))) << "though the capture refuses it";
}

TEST(Restart, ACallbackWithCardDataIsNeverWritten) {
  HookedHost host(noRecords());
  Names ends;
  const auto written = [&] {
    std::string all;
    for (const auto& [name, text] : *host.records) all += text;
    return all;
  };
  host.sdk->clearData(fullRequest<clearData>(done, "1"), [&](const ClearDataResult& result) {
    EXPECT_FALSE(written().contains("4111")) << written();
    noting(ends, "1")(result);
  });
  host.sdk->startPayment(fullRequest<payment>(parsedURL("shop://pay"), "2"),
                         [&](const PaymentResult& result) {
                           EXPECT_FALSE(written().contains("4111")) << written();
                           noting(ends, "2")(result);
                         });
  EXPECT_TRUE(host.sdk->handleCallback(answer("status=returned&clear_pan=4111")));
  EXPECT_TRUE(host.sdk->handleCallback(parsedURL("shop://pay?status=approved&CLEAR%5Ftrack2=4111")));
  EXPECT_EQ(ends, (Names{"1 success+", "2 success+"}));
}

TEST(Restart, AStoreThatFailsOrCallsTheLibraryEndsNothingAndHasTheNewestStateInTheEnd) {
  for (const std::string_view function : {"read", "keep", "remove"}) {
    HookedHost host(noRecords());
    Names ends;
    Names warnings;
    host.hook = [&](Port port, std::string_view text) {
      if (port == Port::logger && text.contains("PendingStore::")) warnings.emplace_back(text);
      if (port == Port::store && text.starts_with(function) && !text.ends_with("done")) throw Thrown();
    };
    host.sdk->startPayment(fullRequest<payment>(done, "1"), noting(ends, "1"));
    EXPECT_TRUE(host.sdk->isPaymentInProgress());
    EXPECT_TRUE(host.sdk->handleCallback(answer("status=approved&request_id=1")));
    EXPECT_EQ(ends, Names{"1 success+"});
    EXPECT_EQ(warnings.size(), function == "keep" ? 2U : 1U) << function;
  }
  // It cancels or replaces the payment while that is being kept.
  for (const bool replaces : {false, true}) {
    for (const std::string_view moment : {"read save", "keep payment", "keep payment done"}) {
      SCOPED_TRACE(moment);
      HookedHost host(noRecords());
      Names ends;
      host.hook = [&](Port port, std::string_view text) {
        if (port != Port::store || text != moment) return;
        host.hook = nullptr;
        host.sdk->cancelPendingPayment();
        if (replaces) host.sdk->startPayment(fullRequest<payment>(done, "2"), noting(ends, "2"));
      };
      host.sdk->startPayment(fullRequest<payment>(done, "1"), noting(ends, "1"));
      EXPECT_EQ(host.opened.size(), replaces ? 1U : 0U);
      host.restart();
      EXPECT_EQ(interrupted(host), replaces ? Names{"payment 2"} : Names{});
    }
  }
}

TEST(Restart, WhatTheStoreHoldsAndTheLibraryDidNotWriteIsSetAsideWithOneWarning) {
  HookedHost writer(noRecords());
  startAndEnd(writer);
  EXPECT_TRUE(writer.sdk->handleCallback(answer("status=approved")));
  const std::string whole = writer.records->at("payment");
  const auto changed = [&](std::string_view from, std::string_view to) {
    std::string text = whole;
    EXPECT_TRUE(text.contains(from)) << from;
    return text.replace(text.find(from), from.size(), to);
  };
  for (const auto& text :
       {std::string(), whole.substr(0, whole.size() - 1), whole + whole, changed(":1}", ":2}"),
        changed(R"("operation":"payment")", R"("operation":"capture")"),
        changed(R"("operations":[)", R"("operations":[7,)"), changed(R"("amount":"1")", R"("amount":"1,5")"),
        changed(R"("amount":"1",)", ""), changed(R"("amount":"1")", R"("amount":"1","token":"x")"),
        changed(R"("transport":"urlScheme")", R"("transport":"post")"),
        changed(R"(,"transport":"urlScheme")", ""), changed(R"("startedAt":"2)", R"("startedAt":"x2)"),
        changed(R"("callback":"shop:\/\/done)", R"("callback":"shop:\/\/other)"),
        changed(R"("startedAt")", R"("unsealed":1,"startedAt")")}) {
    SCOPED_TRACE(text);
    HookedHost host(std::make_shared<Records>(Records{{"payment", text}}));
    Names warnings;
    host.hook = [&](Port port, std::string_view message) {
      if (port == Port::logger) warnings.emplace_back(message);
    };
    EXPECT_EQ(interrupted(host), Names{});
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_TRUE(warnings[0].ends_with("It was set aside.")) << warnings[0];
    EXPECT_EQ(*host.records, (Records{{"payment.unreadable", text}}));
    host.sdk->startPayment(fullRequest<payment>(done, "2"), nullptr);
    EXPECT_TRUE(host.sdk->isPaymentInProgress());
  }
}

TEST(Restart, EachKindThatIsSetAsideHasItsWarning) {
  HookedHost host(std::make_shared<Records>(Records{{"payment", "{torn"}, {"capture", "{torn"}}));
  Names warnings;
  host.hook = [&](Port port, std::string_view message) {
    if (port == Port::logger) warnings.emplace_back(message);
  };
  EXPECT_EQ(interrupted(host), Names{});
  ASSERT_EQ(warnings.size(), 2U);
  EXPECT_TRUE(warnings[0].contains("capture") && warnings[1].contains("payment"));
}

TEST(WithoutAStore, NothingSurvivesAndAStartReadsNoClockOfTheHosts) {
  HookedHost host;
  host.hook = [](Port port, std::string_view) { EXPECT_NE(port, Port::clock); };
  startAndEnd(host);
  EXPECT_FALSE(host.sdk->handleCallback(answer("status=approved")));
  EXPECT_FALSE(host.sdk->resumePayment(nullptr));
  EXPECT_FALSE(host.sdk->forgetInterruptedPayment());
  host.sdk->reboot(fullRequest<reboot>(done), nullptr);
  host.sdk->startPayment(fullRequest<payment>(done, "2"), Transport::automatic(4096), nullptr);
  const auto pending = host.sdk->pendingOperations();
  ASSERT_EQ(pending.size(), 2U);
  EXPECT_EQ(pending[0].kind, reboot) << "in the router's order";
  EXPECT_EQ(pending[1].transport, Transport::automatic(4096));
  EXPECT_GT(pending[1].startedAt, host.clock->now()) << "the system's time";
}

}  // namespace
}  // namespace tilvanego::test
