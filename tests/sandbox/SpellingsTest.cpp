#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <tilvanego/sandbox/Response.h>
#include <tilvanego/sandbox/ResponseTables.h>
#include <tilvanego/sandbox/SandboxApplication.h>

#include "tests/support/Kinds.h"

namespace tilvanego::sandbox {
namespace {

using Names = std::vector<std::string_view>;

const Names request{"request_id", "requestId", "session_id", "sessionId"};
const Names status{"status", "result"};
const Names transaction{"transaction_id", "transactionId", "txn_id"};
const Names processorMessage{"processor_message", "processorMessage", "message"};
const Names errorCode{"error_code", "errorCode", "code"};
const Names errorMessage{"error_message", "errorMessage", "message"};
const Names cancelled{"cancelled", "canceled", "cancel"};
const Names declined{"declined", "decline", "rejected"};
const Names refunded{"success", "succeeded", "completed", "approved", "refunded"};
const Names failed{"failed", "error", "failure"};

struct Spellings {
  std::string_view kind;
  /// The spellings of each field.
  std::vector<Names> fields;
  /// The words of each case.
  std::map<std::string_view, Names> words;
};

/// What the payment application may write. Copied by hand from the protocol, on purpose: the library's own
/// tables and what it then understands are checked against it.
const std::vector<Spellings>& protocol() {
  static const std::vector<Spellings> all{
      {"payment",
       {request,
        status,
        processorMessage,
        {"approval_code", "approvalCode"},
        transaction,
        {"custom_id", "customId"}},
       {{"success", {"approved", "success", "succeeded", "completed"}},
        {"cancelled", cancelled},
        {"declined", declined}}},
      {"initialization",
       {request, status, {"message", "processor_message", "processorMessage", "error"}},
       {{"initialized", {"initialized"}}}},
      {"transactionList",
       {request,
        {"transaction_count", "transactionCount"},
        status,
        {"error_code", "errorCode"},
        errorMessage,
        {"transactionList", "transaction_list"}},
       {{"success", {"success", "succeeded", "completed"}}}},
      {"fullRefund", {request, transaction, status, errorCode, errorMessage}, {{"success", refunded}}},
      {"partialRefund", {request, transaction, status, errorCode, errorMessage}, {{"success", refunded}}},
      {"capture",
       {request,
        status,
        {"type", "transaction_type", "transactionType"},
        transaction,
        {"approved_amount", "approvedAmount"},
        {"original_transaction_id", "originalTransactionId"},
        errorCode,
        errorMessage},
       {{"success", {"success", "succeeded", "completed", "approved", "captured"}}}},
      {"clearData",
       {request, status, {"clear_pan", "clearPan"}, {"clear_track2", "clearTrack2"}, errorCode, errorMessage},
       {{"success", {"returned", "success", "succeeded", "completed"}},
        {"masked", {"data_masked", "datamasked", "masked"}},
        {"cancelled", cancelled}}},
      {"reboot",
       {request,
        status,
        {"response_code", "responseCode"},
        {"reader_serial", "readerSerial"},
        errorCode,
        errorMessage},
       {{"success", {"rebooted"}}}},
      {"save",
       {request,
        status,
        transaction,
        {"approval_code", "approvalCode", "auth_code", "authCode"},
        processorMessage,
        {"entry_mode", "entryMode"},
        {"card_brand", "cardBrand"},
        {"card_last4", "cardLast4"},
        errorCode,
        {"error_message", "errorMessage"}},
       {{"success", {"approved", "success", "succeeded", "completed", "saved"}},
        {"cancelled", cancelled},
        {"declined", declined}}},
  };
  return all;
}

template <typename Array>
Names written(const Array& names) {
  return {names.begin(), std::ranges::find(names, std::string_view())};
}

TEST(Spellings, OfTheLibraryAreThoseOfTheProtocol) {
  ASSERT_EQ(protocol().size(), allCases<Operation>().size());
  for (const auto& [kind, fields, words] : protocol()) {
    const ResponseTable& table = responseTable(fromRawText<Operation>(kind).value());
    std::set<Names> known;
    for (const KeyNames& names : table.keys) known.insert(written(names));
    EXPECT_EQ(known, std::set<Names>(fields.begin(), fields.end())) << kind;
    std::set<Names> expected;
    for (const auto& [name, row] : words) expected.insert(row);
    known.clear();
    for (const StatusRow& row : table.words) known.insert(written(row));
    EXPECT_EQ(known, expected) << kind;
  }
}

/// The name of the case that each outcome has with a kind.
std::string_view caseOf(const Spellings& one, Outcome outcome) {
  const auto knows = [&](std::string_view name) { return one.words.contains(name); };
  switch (outcome) {
    case Outcome::decline:
      return knows("masked") ? "masked" : knows("declined") ? "declined" : "failure";
    case Outcome::cancel:
      return knows("cancelled") ? "cancelled" : "failure";
    case Outcome::fail:
      return "failure";
    default:
      return knows("initialized") ? "initialized" : "success";
  }
}

/// A host and the payment application that answers its links.
struct Rehearsal {
  Rehearsal() : sandbox(host.loop, [this](const URL& url) { respond(url); }) {
    sandbox.setObserver([this](const URL&, const auto& outcome) {
      if (!outcome) refusal = outcome.error().message;
    });
  }

  void respond(const URL& url) {
    callback = url;
    EXPECT_TRUE(host.sdk->handleCallback(url));
  }

  /// The summary of the completion; empty if it didn't run.
  std::string run(const test::Kind& kind) {
    kind.start(host, test::parsedURL("shop://done"));
    sandbox.openURL(host.application->openedURLs().back(), [](bool) {});
    host.takeEvents();
    host.loop.runPending();
    const auto events = host.takeEvents();
    return events.empty() ? "" : events.front().substr(kind.name.size() + 1);
  }

  test::TestHost host;
  SandboxApplication sandbox;
  std::optional<URL> callback;
  std::string refusal;
};

TEST(Spellings, EachWordIsRehearsedAndUnderstood) {
  for (const Spellings& one : protocol()) {
    for (const Outcome outcome : {Outcome::approve, Outcome::decline, Outcome::cancel, Outcome::fail}) {
      const std::string_view name = caseOf(one, outcome);
      const Names& words = name != "failure"             ? one.words.at(name)
                           : outcome == Outcome::decline ? declined
                           : outcome == Outcome::cancel  ? cancelled
                                                         : failed;
      EXPECT_EQ(statusWords(fromRawText<Operation>(one.kind).value(), outcome), words) << one.kind;
      for (const std::string_view word : words) {
        Rehearsal rehearsal;
        rehearsal.sandbox.setOutcome(outcome);
        rehearsal.sandbox.setWord(std::string(word));
        const std::string result = rehearsal.run(test::kindNamed(one.kind));
        EXPECT_TRUE(result.starts_with(name) && result.ends_with("+"))
            << one.kind << " " << word << ": " << result;
        EXPECT_EQ(rehearsal.callback->queryItems()->at(1), (QueryItem{"status", std::string(word)}));
      }
    }
  }
}

TEST(Spellings, EachOfAKeyIsRehearsedAndUnderstood) {
  for (const auto& [kind, fields, words] : protocol()) {
    std::map<std::string_view, Names> seen;
    for (const Outcome outcome : {Outcome::approve, Outcome::fail}) {
      std::string usual;
      for (const KeySpelling spelling : allCases<KeySpelling>()) {
        Rehearsal rehearsal;
        rehearsal.sandbox.setOutcome(outcome);
        rehearsal.sandbox.setKeys(spelling);
        const std::string result = rehearsal.run(test::kindNamed(kind));
        if (spelling == KeySpelling::first) usual = result;
        EXPECT_EQ(result, usual) << kind << " " << rawText(spelling);
        const auto items = rehearsal.callback->queryItems().value();
        for (const QueryItem& item : items) {
          const auto names = std::ranges::find_if(
              fields, [&](const Names& field) { return std::ranges::find(field, item.name) != field.end(); });
          ASSERT_NE(names, fields.end()) << kind << " " << item.name;
          const auto nth = std::min(static_cast<std::size_t>(spelling), names->size() - 1);
          const auto isCamel = [](std::string_view name) {
            return std::ranges::any_of(name, [](char c) { return c >= 'A' && c <= 'Z'; });
          };
          const auto camel = std::ranges::find_if(*names, isCamel);
          const auto wanted = spelling != KeySpelling::camelCase ? (*names)[nth]
                              : camel == names->end()            ? names->front()
                                                                 : *camel;
          EXPECT_EQ(item.name, wanted) << kind << " " << rawText(spelling);
          seen[names->front()].push_back(wanted);
        }
      }
    }
    for (const Names& names : fields) {
      for (const std::string_view name : names) {
        EXPECT_TRUE(std::ranges::count(seen[names.front()], name) > 0) << kind << " " << name;
      }
    }
  }
}

TEST(Spellings, AreKeptByEveryTransport) {
  for (const Transport transport : allCases<Transport>()) {
    test::TestHost host;
    const HandoffPorts ports{.pasteboard = host.pasteboard, .clock = host.clock.get()};
    std::optional<PaymentResult> result;
    host.sdk->startPayment(PaymentRequest({.requestId = "A-1",
                                           .amount = 1,
                                           .currency = "EUR",
                                           .callbackURL = test::parsedURL("shop://done"),
                                           .customId = "c"}),
                           [&](const PaymentResult& payment) { result = payment; });
    const auto link = LaunchLink::read(host.application->openedURLs().front());
    const auto callback = respond(
        *link,
        {.outcome = Outcome::cancel, .transport = transport, .word = "canceled", .keys = KeySpelling::second},
        ports);
    ASSERT_TRUE(callback) << callback.error().message;
    EXPECT_TRUE(host.sdk->handleCallback(**callback));
    EXPECT_EQ(result->name(), "cancelled");
    const PaymentResponse response = result->response().value();
    EXPECT_EQ(response.status(), "canceled");
    EXPECT_TRUE(response.requestId() && response.processorMessage() && response.customId());
    const std::string text = (*callback)->absoluteString();
    EXPECT_EQ(text.contains("&payloadSize=") && text.contains("&compressedSize="),
              transport == Transport::gzip);
    EXPECT_EQ(text.contains("&result_handoff_id="), transport == Transport::pasteboard);
  }
}

TEST(Spellings, AWordOfAnotherOutcomeIsRefused) {
  Rehearsal rehearsal;
  rehearsal.sandbox.setWord("saved");
  const test::Kind& payment = test::kindNamed("payment");
  EXPECT_EQ(rehearsal.run(payment), "");
  EXPECT_EQ(
      rehearsal.refusal,
      "the word \"saved\" isn't payment's for the outcome approve: approved, success, succeeded, completed");
  (rehearsal.host.sdk.get()->*payment.cancel)();
  rehearsal.sandbox.setOutcome(Outcome::noStatus);
  EXPECT_EQ(rehearsal.run(payment), "");
  EXPECT_EQ(rehearsal.refusal, "the outcome no-status has no status word to choose");
}

}  // namespace
}  // namespace tilvanego::sandbox
