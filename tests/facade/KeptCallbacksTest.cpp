#include <tilvanego/transports/Gzip.h>
#include <tilvanego/values/Base64.h>

#include "tests/facade/RestartedHost.h"

/// Which operation a callback is kept for, what of it is written, and from where it is read.
namespace tilvanego::test {
namespace {

TEST(AResumedOperation, TakesNoOtherCallbackThanTheKeptOne) {
  struct Case {
    URL callback;
    bool handled;
    std::string_view advice;
  };
  constexpr std::string_view delivering =
      "The callback of the resumed payment came before: it is delivered in the main queue's next turn, and "
      "no "
      "other one is taken.";
  for (const auto& [callback, handled, advice] :
       {Case{done, false, delivering}, Case{answer("status=declined&request_id=9"), false, delivering},
        Case{zippedAnswer("9"), false, delivering},
        Case{
            answer("status=declined&request_id=1"), true,
            "The callback of the interrupted payment has come before and is kept; this one changes nothing."},
        Case{zippedAnswer("1"), true,
             "The callback of the interrupted payment has come before and is kept; this one changes "
             "nothing."}}) {
    SCOPED_TRACE(callback.absoluteString());
    HookedHost host(noRecords());
    Names ends;
    startAndEnd(host);
    EXPECT_TRUE(host.sdk->handleCallback(answer("status=approved&request_id=1")));
    EXPECT_TRUE(host.sdk->resumePayment(noting(ends, "1")));
    EXPECT_EQ(host.sdk->explainCallback(callback).advice, advice);
    EXPECT_FALSE(host.sdk->isPaymentCallback(callback));
    EXPECT_FALSE(host.sdk->paymentResult(callback));
    EXPECT_EQ(host.sdk->handleCallback(callback), handled);
    EXPECT_EQ(ends, Names{});
    host.loop.runPending();
    EXPECT_EQ(ends, Names{"1 success+"});
    EXPECT_EQ(*host.records, Records{});
  }
  // Nor one that comes as it is cancelled.
  HookedHost cancelling(noRecords());
  startAndEnd(cancelling);
  const URL callback = answer("status=approved&request_id=1");
  EXPECT_TRUE(cancelling.sdk->handleCallback(callback));
  bool isHandled = true;
  std::shared_ptr<void> end(nullptr, [&](void*) { isHandled = cancelling.sdk->handleCallback(callback); });
  EXPECT_TRUE(cancelling.sdk->resumePayment([end = std::move(end)](const PaymentResult&) {}));
  cancelling.sdk->cancelPendingPayment();
  EXPECT_FALSE(isHandled);
  // Nor the report that an earlier link wasn't opened.
  HookedHost host(noRecords());
  Names ends;
  startAndEnd(host);
  EXPECT_TRUE(host.sdk->handleCallback(answer("status=approved&request_id=1")));
  host.sdk->startPayment(fullRequest<payment>(otherDone, "2"), nullptr);
  host.sdk->cancelPendingPayment();
  host.handlers.back()(false);
  EXPECT_TRUE(host.sdk->resumePayment(noting(ends, "1")));
  host.loop.runPending();
  EXPECT_EQ(ends, Names{"1 success+"});
}

TEST(ACallback, WithAHiddenRequestIdGoesToTheOperationThatCanReadIt) {
  struct Case {
    bool isPending2;
    std::string own;
    Names left;
    Names ends;
  };
  for (const bool isSealed : {false, true}) {
    for (const auto& [isPending2, own, left, expected] :
         {Case{false, "2", {"payment 1", "payment 2+"}, {}},
          Case{false, "1", {"payment 1+", "payment 2"}, {}}, Case{true, "1", {"payment 1+"}, {}},
          Case{true, "2", {"payment 1"}, {"2 success+"}}}) {
      SCOPED_TRACE(own + (isPending2 ? " while 2 is pending" : "") + (isSealed ? ", sealed" : ""));
      HookedHost host(noRecords());
      Names ends;
      startAndEnd(host);
      if (!isPending2) startAndEnd(host, "2");
      if (isPending2) host.sdk->startPayment(fullRequest<payment>(done, "2"), noting(ends, "2"));
      if (isSealed) host.leaveResult(handoffId, own);
      const URL callback = isSealed ? sealedAnswer() : zippedAnswer(own);
      const bool isTaken = host.sdk->explainCallback(callback).advice.contains("is kept for the interrupted");
      EXPECT_EQ(isTaken, expected.empty());
      EXPECT_TRUE(host.sdk->handleCallback(callback));
      EXPECT_TRUE(host.pasteboard.items().empty());
      EXPECT_EQ(interrupted(host), left);
      EXPECT_EQ(ends, expected);
      if (!expected.empty()) continue;
      EXPECT_TRUE(host.sdk->handleCallback(callback)) << "it has come already";
      EXPECT_EQ(interrupted(host), left);
      EXPECT_EQ(ends, Names{});
    }
  }
}

TEST(ACallback, ThatWasKeptChangesNothingWhenItComesAgain) {
  HookedHost host(noRecords());
  Names ends;
  startAndEnd(host);
  host.sdk->startPayment(fullRequest<payment>(done, "2"), noting(ends, "2"));
  EXPECT_TRUE(host.sdk->handleCallback(answer("status=approved&request_id=1")));
  const Records kept = *host.records;
  const URL again = answer("status=declined&request_id=1");
  EXPECT_EQ(host.sdk->explainCallback(again).advice,
            "The callback of the interrupted payment has come before and is kept; this one changes nothing.");
  EXPECT_TRUE(host.sdk->handleCallback(again));
  EXPECT_EQ(*host.records, kept);
  EXPECT_EQ(ends, Names{});
  EXPECT_TRUE(host.sdk->handleCallback(answer("status=approved&request_id=2")));
  EXPECT_EQ(ends, Names{"2 success+"});

  // The very same URL, also without an id, and while another payment waits for one.
  for (const std::string_view query : {"status=approved", "status=approved&request_id=1"}) {
    for (const bool isResumed : {false, true}) {
      SCOPED_TRACE(std::string(query) + (isResumed ? " resumed" : ""));
      HookedHost same(noRecords());
      ends.clear();
      startAndEnd(same);
      startAndEnd(same);
      const URL callback = answer(std::string(query));
      EXPECT_TRUE(same.sdk->handleCallback(callback));
      if (isResumed) {
        EXPECT_TRUE(same.sdk->resumePayment(noting(ends, "1")));
      }
      EXPECT_TRUE(same.sdk->explainCallback(callback).advice.contains("has come before and is kept"));
      EXPECT_TRUE(same.sdk->handleCallback(callback));
      EXPECT_EQ(interrupted(same), isResumed ? Names{"payment 1"} : (Names{"payment 1+", "payment 1"}));
      same.loop.runPending();
      EXPECT_EQ(ends, isResumed ? Names{"1 success+"} : Names{});
    }
  }
}

TEST(ACallback, OfAnotherRequestIsExplainedByItsId) {
  HookedHost host(noRecords());
  startAndEnd(host, "A");
  const URL callback = answer("status=approved&request_id=B");
  const auto explanation = host.sdk->explainCallback(callback);
  const std::string sentence =
      R"(The callback's request id is "B", the interrupted payment with its callbackURL has "A".)";
  EXPECT_EQ(explanation.advice, sentence);
  EXPECT_TRUE(explanation.entries.back().reason.ends_with(sentence)) << explanation.entries.back().reason;
  EXPECT_FALSE(host.sdk->handleCallback(callback));
}

TEST(CardData, IsWrittenInNoForm) {
  const std::string pan = "4111111111111111";
  for (const bool isInterrupted : {false, true}) {
    for (const bool isSealed : {false, true}) {
      SCOPED_TRACE(std::string(isInterrupted ? "interrupted" : "pending") + (isSealed ? ", sealed" : ""));
      HookedHost host(noRecords());
      Names ends;
      Names duringCompletion;
      const auto completion = [&](const PaymentResult& result) {
        duringCompletion = nextFinds(host);
        noting(ends, "1")(result);
      };
      host.sdk->startPayment(fullRequest<payment>(done, "1"), completion);
      if (isInterrupted) host.restart();
      if (isSealed) host.leaveResult(handoffId, "1", {{"clear_pan", pan}});
      EXPECT_TRUE(
          host.sdk->handleCallback(isSealed ? sealedAnswer() : zippedAnswer("1", {{"clear_pan", pan}})));
      EXPECT_TRUE(host.pasteboard.items().empty());
      if (isInterrupted) {
        EXPECT_EQ(interrupted(host), Names{"payment 1+"}) << "in memory";
        EXPECT_EQ(nextFinds(host), Names{"payment 1"}) << "without the callback";
        EXPECT_TRUE(host.sdk->resumePayment(completion));
        host.loop.runPending();
      }
      EXPECT_EQ(duringCompletion, Names{"payment 1"});
      EXPECT_EQ(ends, Names{"1 success+"});
    }
  }
  HookedHost host(noRecords());
  host.sdk->getTransactionList(fullRequest<transactionList>(done, "L"), nullptr);
  host.restart();
  EXPECT_TRUE(host.sdk->handleCallback(
      answer(R"(request_id=L&status=success&transactionList=%20%5B%7B%22a%22%3A%5B%7B%22clearPan%22%3A%22)" +
             pan + "%22%7D%5D%7D%5D")));
  EXPECT_EQ(nextFinds(host), Names{"transactionList L"});
}

TEST(CardData, IsNotWrittenWhereItCouldBeAndEverythingElseIs) {
  struct Case {
    std::string_view what;
    URL callback;
    bool isWritten = false;
  };
  const std::string json =
      R"({"payload":{"query_items":{"status":"approved","clear_pan":"4111111111111111"}}})";
  const int wholeSize = static_cast<int>(json.size());
  // A compressed result with a fault, which its reader refuses.
  const auto zipped = [&](auto change, int jsonSize = 0, int size = 0,
                          std::string_view encoding = "gzip-json") {
    const auto span = std::span(reinterpret_cast<const std::uint8_t*>(json.data()), json.size());
    Bytes bytes = detail::gzipCompress(span).value();
    change(bytes);
    return answer("transport=gzip&encoding=" + std::string(encoding) + "&payload=" + base64URLEncode(bytes) +
                  "&payload_size=" + std::to_string(wholeSize + jsonSize) +
                  "&compressed_size=" + std::to_string(static_cast<int>(bytes.size()) + size));
  };
  const auto nothing = [](Bytes&) {};
  const auto zippedWith = [](const char* name, const char* value) {
    return zippedAnswer("1", {{name, value}});
  };
  const std::string harmless = zippedAnswer("1").absoluteString();
  for (const auto& [what, callback, isWritten] : {
           Case{"payload_size", zipped(nothing, 1)},
           Case{"compressed_size", zipped(nothing, 0, 1)},
           Case{"encoding", zipped(nothing, 0, 0, "gzip")},
           Case{"cut", zipped([](Bytes& bytes) { bytes.pop_back(); })},
           Case{"checksum", zipped([](Bytes& bytes) { bytes[bytes.size() - 8] ^= 1; })},
           Case{"no gzip", zipped([](Bytes& bytes) { bytes.assign(40, 'x'); })},
           Case{"after the stream", zipped(
                                        [](Bytes& bytes) {
                                          const Bytes hidden = std::exchange(
                                              bytes, detail::gzipCompress(Bytes{'{', '}'}).value());
                                          bytes.insert(bytes.end(), hidden.begin(), hidden.end());
                                        },
                                        2 - wholeSize)},
           Case{"a second payload", parsedURL(harmless + "&PAYLOAD=H4sIA")},
           Case{"an escaped name inside", zippedWith("clear%5Fpan", "4111")},
           Case{"a URL inside", zippedWith("next", "shop://x?clear_pan=4111")},
           Case{"a payload inside", zippedWith("payload", "4111")},
           Case{"a URL", answer("request_id=1&next=shop%3A%2F%2Fx%3Fa%26clear_pan%3D4111")},
           Case{"escaped twice", answer("request_id=1&%2563lear_%2570an=4111")},
           Case{"escaped ever again", answer("request_id=1&x=%25252525252525252525252525252541")},
           Case{"a fragment", answer("request_id=1#ClearTrack2=4111")},
           Case{"JSON in a text", answer("request_id=1&m=see%20{%22clear%5Cu005fpan%22:%224111%22}")},
           Case{"no UTF-8", answer("request_id=1&m=%FF%26clear_pan=4111")},
           Case{"compressed", zippedAnswer("1", {{"message", "{[clearance"}}), true},
           Case{"sealed", sealedAnswer(), true},
           Case{"broken escapes", answer("request_id=1&m=%FF%2541&n=%5Cu00e"), true},
       }) {
    SCOPED_TRACE(what);
    HookedHost host(noRecords());
    startAndEnd(host);
    EXPECT_TRUE(host.sdk->handleCallback(callback));
    EXPECT_EQ(interrupted(host), Names{"payment 1+"}) << "in memory";
    EXPECT_EQ(nextFinds(host), Names{isWritten ? "payment 1+" : "payment 1"});
  }
  HookedHost host(noRecords());
  Names warnings;
  host.hook = failing("", 0, warnings);
  host.sdk->startPayment(fullRequest<payment>(done, "1"), nullptr);
  EXPECT_TRUE(host.sdk->handleCallback(zipped(nothing, 1)));
  EXPECT_TRUE(
      hasOne(warnings,
             "The result of the payment \"1\" isn't kept for the next start of this host. What it has "
             "compressed can't be read"));
}

TEST(APasteboard, KeepsTheResultOfAnInterruptedPaymentThatTheStoreDoesNotTake) {
  for (const bool isPending : {false, true}) {
    HookedHost host(noRecords());
    Names ends;
    Names warnings;
    host.sdk->startPayment(fullRequest<payment>(done, "1"), noting(ends, "1"));
    if (!isPending) host.restart();
    host.leaveResult(handoffId, "1");
    host.hook = failing("keep payment", always, warnings);
    EXPECT_TRUE(host.sdk->handleCallback(sealedAnswer()));
    EXPECT_EQ(host.pasteboard.items().empty(), isPending);
    if (isPending) continue;
    host.hook = nullptr;
    host.restart();
    EXPECT_TRUE(host.sdk->handleCallback(sealedAnswer())) << "the system gives it to the next process";
    EXPECT_TRUE(host.pasteboard.items().empty());
    EXPECT_TRUE(host.sdk->resumePayment(noting(ends, "1")));
    host.loop.runPending();
    EXPECT_EQ(ends, Names{"1 success+"});
  }
}

TEST(APasteboard, IsReadBeforeTheStoreIsCalledAndMayResumeThePayment) {
  for (const bool isResumed : {false, true}) {
    HookedHost host(noRecords());
    Names ends;
    Names keeps;
    startAndEnd(host);
    host.leaveResult(handoffId, "1");
    host.hook = [&](Port port, std::string_view text) {
      if (port == Port::store && text == "keep payment") {
        keeps.emplace_back(text);
        host.pasteboard.place({}, "copied by the user");
      }
      if (port == Port::pasteboardRead && isResumed && !host.sdk->isPaymentInProgress() && ends.empty()) {
        EXPECT_TRUE(host.sdk->resumePayment(noting(ends, "1")));
      }
    };
    EXPECT_TRUE(host.sdk->handleCallback(sealedAnswer()));
    EXPECT_EQ(keeps, Names{"keep payment"}) << "with the result itself";
    EXPECT_EQ(host.pasteboard.string(), "copied by the user");
    if (!isResumed) {
      EXPECT_TRUE(host.sdk->resumePayment(noting(ends, "1")));
    }
    host.loop.runPending();
    EXPECT_EQ(ends, Names{"1 success+"});
  }
}

TEST(APasteboard, IsReadForAPaymentWhoseEarlierCallbackNamedNothingThere) {
  HookedHost host(noRecords());
  Names ends;
  startAndEnd(host);
  EXPECT_TRUE(host.sdk->handleCallback(answer("transport=pasteboard&resultHandoffId=other")));
  host.leaveResult(handoffId, "1");
  EXPECT_TRUE(host.sdk->handleCallback(sealedAnswer()));
  EXPECT_TRUE(host.sdk->handleCallback(answer("transport=pasteboard&resultHandoffId=other&request_id=1")));
  EXPECT_TRUE(host.sdk->resumePayment(noting(ends, "1")));
  host.loop.runPending();
  EXPECT_EQ(ends, Names{"1 success+"});
}

}  // namespace
}  // namespace tilvanego::test
