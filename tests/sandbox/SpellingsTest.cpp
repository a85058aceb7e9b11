#include <ranges>

#include <tilvanego/sandbox/Response.h>
#include <tilvanego/sandbox/ResponseTables.h>
#include <tilvanego/sandbox/SandboxApplication.h>

#include "tests/support/Kinds.h"

namespace tilvanego::sandbox {
namespace {

using Names = std::vector<std::string_view>;

Names split(std::string_view text) {
  Names names;
  for (const auto& name : std::views::split(text, ' ')) names.emplace_back(name.begin(), name.end());
  return names;
}

constexpr auto request = "request_id requestId session_id sessionId";
constexpr auto status = "status result";
constexpr auto transaction = "transaction_id transactionId txn_id";
constexpr auto processorMessage = "processor_message processorMessage message";
constexpr auto errorCode = "error_code errorCode code";
constexpr auto errorMessage = "error_message errorMessage message";
constexpr auto cancelled = "cancelled canceled cancel";
constexpr auto declined = "declined decline rejected";
constexpr auto refunded = "success succeeded completed approved refunded";
constexpr auto failed = "failed error failure";

struct Spellings {
  std::string_view kind;
  /// The spellings of each field.
  std::vector<std::string_view> fields;
  /// The words of each case.
  std::map<std::string_view, std::string_view> words;
};

/// What the payment application may write. Copied by hand from the protocol, on purpose: the library's own
/// tables and what it then understands are checked against it.
const std::vector<Spellings>& protocol() {
  static const std::vector<Spellings> all{
      {"payment",
       {request, status, processorMessage, "approval_code approvalCode", transaction, "custom_id customId"},
       {{"success", "approved success succeeded completed"},
        {"cancelled", cancelled},
        {"declined", declined}}},
      {"initialization",
       {request, status, "message processor_message processorMessage error"},
       {{"initialized", "initialized"}}},
      {"transactionList",
       {request, "transaction_count transactionCount", status, "error_code errorCode", errorMessage,
        "transactionList transaction_list"},
       {{"success", "success succeeded completed"}}},
      {"fullRefund", {request, transaction, status, errorCode, errorMessage}, {{"success", refunded}}},
      {"partialRefund", {request, transaction, status, errorCode, errorMessage}, {{"success", refunded}}},
      {"capture",
       {request, status, "type transaction_type transactionType", transaction,
        "approved_amount approvedAmount", "original_transaction_id originalTransactionId", errorCode,
        errorMessage},
       {{"success", "success succeeded completed approved captured"}}},
      {"clearData",
       {request, status, "clear_pan clearPan", "clear_track2 clearTrack2", errorCode, errorMessage},
       {{"success", "returned success succeeded completed"},
        {"masked", "data_masked datamasked masked"},
        {"cancelled", cancelled}}},
      {"reboot",
       {request, status, "response_code responseCode", "reader_serial readerSerial", errorCode, errorMessage},
       {{"success", "rebooted"}}},
      {"save",
       {request, status, transaction, "approval_code approvalCode auth_code authCode", processorMessage,
        "entry_mode entryMode", "card_brand cardBrand", "card_last4 cardLast4", errorCode,
        "error_message errorMessage"},
       {{"success", "approved success succeeded completed saved"},
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
    std::set<Names> known, expected;
    for (const KeyNames& names : table.keys) known.insert(written(names));
    for (const StatusRow& row : table.words) known.insert(written(row));
    for (const std::string_view names : fields) expected.insert(split(names));
    for (const auto& [name, row] : words) expected.insert(split(row));
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
    case Outcome::approve:
      return knows("initialized") ? "initialized" : "success";
    default:
      return "failure";
  }
}

/// A host and the payment application that answers its links.
struct RehearsedOperation {
  explicit RehearsedOperation(Outcome outcome = Outcome::approve)
      : sandbox(host.loop, [this](const URL& url) {
          callback = url;
          EXPECT_TRUE(host.sdk->handleCallback(url));
        }) {
    sandbox.setOutcome(outcome);
    sandbox.setObserver([](const URL&, const auto& handled) {
      EXPECT_EQ(handled->request.requestId(), "A-1");
      for (const std::string& line : handled->request.lines()) {
        EXPECT_FALSE(line.contains(test::secretToken)) << line;
      }
    });
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
};

TEST(Spellings, EachWordIsRehearsedAndUnderstood) {
  struct Row {
    Outcome outcome;
    std::string_view words;
    std::string_view failure;
  };
  for (const Spellings& one : protocol()) {
    for (const auto& [outcome, otherWords, failure] :
         {Row{Outcome::approve, "", ""}, Row{Outcome::decline, declined, "Declined by the issuer (05)"},
          Row{Outcome::cancel, cancelled, "Cancelled on the terminal (17)"},
          Row{Outcome::fail, failed, "The terminal reported a fault (96)"}}) {
      const std::string_view name = caseOf(one, outcome);
      const Names words = split(name == "failure" ? otherWords : one.words.at(name));
      EXPECT_EQ(statusWords(fromRawText<Operation>(one.kind).value(), outcome), words) << one.kind;
      const bool hasCode = one.kind != "payment" && one.kind != "initialization";
      for (const std::string_view word : words) {
        RehearsedOperation rehearsal(outcome);
        rehearsal.sandbox.setWord(std::string(word));
        const std::string result = rehearsal.run(test::kindNamed(one.kind));
        const std::string text =
            hasCode ? std::string(failure) : " failed with status " + std::string(word) + ".";
        EXPECT_TRUE(result.starts_with(name) && result.ends_with(name == "failure" ? text + ")+" : "+"))
            << one.kind << " " << word << ": " << result;
        EXPECT_EQ(rehearsal.callback->queryItems()->at(1), (QueryItem{"status", std::string(word)}));
      }
    }
  }
}

TEST(Spellings, OfNoWordAreAFailureOrNoCallback) {
  for (const test::Kind& kind : test::allKinds()) {
    const std::string failure = "failure(" + std::string(kind.name) + "Failed";
    EXPECT_TRUE(RehearsedOperation(Outcome::unknownStatus).run(kind).starts_with(failure)) << kind.name;
    EXPECT_TRUE(RehearsedOperation(Outcome::noStatus).run(kind).starts_with("failure(missingStatus"))
        << kind.name;
    EXPECT_TRUE(
        RehearsedOperation(Outcome::wrongId).run(kind).ends_with("Expected A-1, received A-1-other.)+"));
    EXPECT_EQ(RehearsedOperation(Outcome::silent).run(kind), "");
  }
}

TEST(Spellings, EachOfAKeyIsRehearsedAndUnderstood) {
  for (const auto& [kind, fields, words] : protocol()) {
    std::set<std::string, std::less<>> seen, expected;
    for (const Outcome outcome : {Outcome::approve, Outcome::fail}) {
      const std::string usual = RehearsedOperation(outcome).run(test::kindNamed(kind));
      for (const KeySpelling spelling : allCases<KeySpelling>()) {
        RehearsedOperation rehearsal(outcome);
        rehearsal.sandbox.setKeys(spelling);
        EXPECT_EQ(rehearsal.run(test::kindNamed(kind)), usual) << kind << " " << rawText(spelling);
        const auto items = rehearsal.callback->queryItems().value();
        for (const QueryItem& item : items) seen.insert(item.name);
      }
    }
    for (const std::string_view field : fields) {
      for (const std::string_view name : split(field)) expected.emplace(name);
    }
    EXPECT_EQ(seen, expected) << kind;
  }
}

}  // namespace
}  // namespace tilvanego::sandbox
