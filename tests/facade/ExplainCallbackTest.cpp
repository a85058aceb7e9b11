#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

using Entry = CallbackExplanation::Entry;

const Entry& entryOf(const CallbackExplanation& explanation, OperationKind kind) {
  return *std::ranges::find(explanation.entries, kind, &Entry::operation);
}

/// The name of a kind is the host of its callback URL.
URL urlOf(const Kind& kind, std::string_view query) {
  return parsedURL("myshop://" + std::string(kind.name) + std::string(query));
}

/// Explains a callback, then handles it: both agree, and the explanation caused nothing.
void expectAgreement(TestHost& host, const URL& url) {
  host.takeEvents();
  const CallbackExplanation explanation = host.sdk->explainCallback(url);
  EXPECT_EQ(host.takeEvents(), std::vector<std::string>{});
  const Entry* ending = nullptr;
  for (std::size_t i = 0; i < allKinds().size(); ++i) {
    const Kind& kind = allKinds()[i];
    const Entry& entry = explanation.entries.at(i);
    EXPECT_EQ(rawText(entry.operation), kind.name) << "the router's order";
    EXPECT_EQ(entry.pending, (*host.sdk.*kind.isInProgress)());
    EXPECT_EQ(entry.matches, (*host.sdk.*kind.isCallback)(url));
    EXPECT_FALSE(entry.reason.empty());
    if (entry.ends) ending = &entry;
  }
  EXPECT_EQ(host.sdk->handleCallback(url), ending != nullptr) << url.absoluteString();
  const std::string event = host.takeEvents().back();
  if (ending == nullptr) return;
  const std::string kind(rawText(ending->operation));
  EXPECT_TRUE(event.starts_with(kind + " " + ending->result)) << event;
  EXPECT_NE(event.find(ending->error), std::string::npos) << event;
  EXPECT_NE(explanation.advice.find(ending->error.empty() ? ending->result : ending->error),
            std::string::npos);
}

TEST(ExplainCallback, SaysWhatHandleCallbackThenDoes) {
  const auto kinds = allKinds();
  for (const std::string_view query : {"", "?status=approved", "?status=initialized&request_id=A-1",
                                       "?result=Cancelled", "?status=odd", "?status=success&session_id=B"}) {
    for (const Kind& callback : kinds) {
      for (std::size_t pending = 0; pending < 1U << kinds.size(); pending += 37) {
        TestHost host;
        for (std::size_t i = 0; i < kinds.size(); ++i) {
          if ((pending >> i & 1U) != 0) kinds[i].start(host, urlOf(kinds[i], ""));
        }
        expectAgreement(host, urlOf(callback, query));
      }
    }
  }
}

TEST(ExplainCallback, NamesWhatDiffersWhatDecidedAndWhatToMend) {
  using enum OperationKind;
  struct Row {
    std::string_view callbackURL, callback, reason, advice;
  };
  constexpr std::string_view nothing =
      "Nothing is pending in this process: the operation is over, was cancelled, or was started by another "
      "process; a transaction list says what was paid.";
  for (
      const auto& [callbackURL, callback, reason, advice] : {
          Row{"myshop://a/payment-done", "myshop://a/payment_done?status=approved",
              "The callback's path is /payment_done, the pending payment's callbackURL has /payment-done.",
              "The callback's path is /payment_done, the pending payment's callbackURL has /payment-done."},
          {"myshop://a/Done", "yourshop:/done",
           "The callback's scheme is yourshop, the pending payment's callbackURL has myshop. The callback's "
           "host is "
           "missing, the pending payment's callbackURL has a. The callback's path is /done, the pending "
           "payment's "
           "callbackURL has /Done. The case of a path counts.",
           "The callback's scheme is yourshop, the pending payment's callbackURL has myshop."},
          {"myshop:/done", "myshop:///done",
           "The callback's host is empty, the pending payment's callbackURL has none.",
           "The callback's host is empty, the pending payment's callbackURL has none."},
          {"myshop://done",
           "MYSHOP://Done/?Txn_ID=T&state=ok&status=%20Approved&result=failed&session_id=A-1",
           R"(It is the callback of the pending payment. The result is success. The status " Approved", by the key )"
           R"("status", is understood as the word approved. Fields and their keys: transactionId by "Txn_ID", status )"
           R"(by "status", requestId by "session_id". Items that decide nothing: "state", "result".)",
           "The callback ends the pending payment with success."},
          {"myshop://done", "myshop://done?result=paid",
           R"(It is the callback of the pending payment. The result is failure (paymentFailed): "Payment failed with )"
           R"(status paid.". The status "paid", by the key "result", is no word of payment and counts as a failure; )"
           "the words are approved, success, succeeded, completed, cancelled, canceled, cancel, declined, "
           "decline, "
           R"(rejected. Fields and their keys: status by "result".)",
           "The callback ends the pending payment with failure (paymentFailed)."},
          {"myshop://done", "myshop://done?status&status=approved&transport=pasteboard",
           R"(It is the callback of the pending payment. The result is failure (missingStatus): "Payment callback is )"
           R"(missing a status.". Its status, by the key "status", is blank. Fields and their keys: status by )"
           R"("status". Items that decide nothing: "status", "transport".)",
           "The callback ends the pending payment with failure (missingStatus)."},
          {"myshop://done", "myshop://done?status=approved%FF&txn_id=%C3&status=declined",
           R"(It is the callback of the pending payment. The result is failure (missingStatus): "Payment callback is )"
           R"(missing a status.". Its status, by the key "status", isn't UTF-8. Fields and their keys: status by )"
           R"("status", transactionId by "txn_id". Not UTF-8, and so without a value: status, transactionId; the )"
           R"(payment application must percent-encode texts as UTF-8. Items that decide nothing: "status".)",
           "The callback ends the pending payment with failure (missingStatus)."},
          {"", "myshop://done?result=paid",
           R"(No payment is pending. A pending one with this URL would end with failure (paymentFailed). The status )"
           R"("paid", by the key "result", is no word of payment and counts as a failure; the words are approved, )"
           "success, succeeded, completed, cancelled, canceled, cancel, declined, decline, rejected. Fields "
           "and their "
           R"(keys: status by "result".)",
           nothing},
          {"", "myshop://done?transport=GZip",
           "No payment is pending. The result is compressed in the query (transport=gzip).", nothing},
      }) {
    TestHost host;
    if (!callbackURL.empty()) {
      host.sdk->startPayment(fullRequest<payment>(parsedURL(callbackURL)), noting(host, "payment"));
    }
    const auto explanation = host.sdk->explainCallback(parsedURL(callback));
    EXPECT_EQ(entryOf(explanation, payment).reason, reason);
    EXPECT_EQ(explanation.advice, advice);
  }
}

TEST(ExplainCallback, NamesTheOperationThatRefusesItBeforeItsOwnIsAsked) {
  TestHost host;
  kindNamed("payment").start(host, parsedURL("myshop://paid"));
  kindNamed("reboot").start(host, parsedURL("myshop://rebooted"));
  const auto explanation = host.sdk->explainCallback(parsedURL("myshop://paid?status=approved"));
  const Entry& entry = entryOf(explanation, OperationKind::payment);
  EXPECT_TRUE(entry.matches && !entry.ends);
  EXPECT_TRUE(entry.reason.ends_with("It isn't asked: the pending reboot before it refuses the callback."));
  EXPECT_EQ(
      explanation.advice,
      "The callback is that of the pending payment, but the pending reboot is asked first and refuses it: "
      "end or cancel that one.");
}

TEST(ExplainCallback, ShowsNoSecretAndNoEndlessText) {
  TestHost host;
  kindNamed("clearData").start(host, parsedURL("myshop://done"));
  const std::string endless(100'000, 'x');
  std::string many;
  for (int i = 0; i < 1'000; ++i) many += "&n" + std::to_string(i);
  const auto explanation = host.sdk->explainCallback(
      parsedURL("myshop://done?clearPan=4111&clear_track2=;9=&request_id=" + endless + "&status=%C3%BC" +
                endless + many));
  std::string shown = explanation.advice;
  for (const auto& entry : explanation.entries) {
    shown += entry.reason;
    for (const auto& [name, key, value] : entry.fields) shown += name + key + value.value_or("");
  }
  EXPECT_EQ(entryOf(explanation, OperationKind::clearData).fields.at(0).value, "<redacted>");
  EXPECT_EQ(shown.find("4111"), std::string::npos);
  EXPECT_EQ(shown.find(";9="), std::string::npos);
  EXPECT_LT(shown.size(), 20'000U);
}

}  // namespace
}  // namespace tilvanego::test
