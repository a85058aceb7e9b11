#include <tilvanego/sandbox/Response.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"
#include "tests/support/TestData.h"
#include "tests/support/TestHost.h"

namespace tilvanego::sandbox {
namespace {

LaunchLink readLink(const std::string& operationAndItems, const std::string& returnURL = "shop://done") {
  auto link = LaunchLink::read(
      *URL::parse("tilvanego://payment/v1/" + operationAndItems + "&return_url=" + returnURL));
  EXPECT_TRUE(link) << link.error().message;
  return *std::move(link);
}

TEST(Response, HasTheFieldsThatItsOutcomeComesTo) {
  struct Case {
    Outcome outcome;
    std::string_view names;
  };
  const LaunchLink payment = readLink(
      "start?request_id=1&amount=1&type=sale&currency=EUR&require_reader_ready=true&custom_id=c%261");
  for (const auto& [outcome, names] : {
           Case{Outcome::approve, "processor_message approval_code transaction_id custom_id "},
           Case{Outcome::decline, "processor_message transaction_id custom_id "},
           Case{Outcome::cancel, "processor_message custom_id "},
           Case{Outcome::fail, "processor_message custom_id "},
       }) {
    std::string written;
    for (const auto& [name, value] : responseItems(payment, outcome)) written += name + " ";
    EXPECT_EQ(written, "request_id status " + std::string(names)) << rawText(outcome);
    EXPECT_EQ(responseItems(payment, outcome).back().value, "c&1");
  }
}

template <typename Result>
auto approved(Result (*parse)(URL, const std::optional<std::string>&, const std::optional<URL>&),
              const std::string& operationAndItems) {
  return parse(**respond(readLink(operationAndItems), Outcome::approve), {}, {})->response().value();
}

TEST(Response, HoldsWhatTheOperationIsFor) {
  const auto list = approved(TilvaneGo::parseTransactionListResult, "getTransactionList?x=");
  EXPECT_EQ(list.transactionCount(), 2);
  ASSERT_EQ(list.transactions().size(), 2U);
  EXPECT_EQ(list.transactions()[0].transactionDetails.cardLabel(), "VISA 1111");
  const auto captured =
      approved(TilvaneGo::parseCaptureResult, "capture?request_id=1&transaction_id=T&amount=12.50");
  EXPECT_EQ(captured.approvedAmount(), "12.50");
  EXPECT_EQ(captured.originalTransactionId(), "T");
  EXPECT_NE(captured.transactionId(), "T");
  const auto cleared = approved(TilvaneGo::parseClearDataResult, "clear_data?request_id=1");
  EXPECT_EQ(cleared.clearPan(), "4111111111111111");
  EXPECT_EQ(cleared.clearTrack2(), ";4111111111111111=30121010000000000000?");
  const auto saved = approved(TilvaneGo::parseSaveResult, "save?request_id=1&currency=EUR");
  EXPECT_EQ(saved.cardLast4(), "1111");
  EXPECT_TRUE(saved.approvalCode() && saved.transactionId() && saved.entryMode() && saved.cardBrand());
}

TEST(Response, KeepsWhatTheHostPutIntoItsURL) {
  const LaunchLink link =
      readLink("reboot?request_id=%26%201", "shop://u@done:8/a%25252Fb?x=%252526%2526%26flag%23top");
  EXPECT_EQ((*respond(link, Outcome::approve))->absoluteString(),
            "shop://u@done:8/a%252Fb?x=%2526%26&flag&request_id=%26%201&status=rebooted&response_code=0&"
            "reader_serial=SANDBOX-0001#top");
}

TEST(Response, IsTheSameForTheSameRequestAndAnotherForAnother) {
  const auto itemsOf = [](const std::string& requestId) {
    return responseItems(readLink("capture?amount=1&transaction_id=T&request_id=" + requestId),
                         Outcome::approve);
  };
  EXPECT_EQ(itemsOf("1"), itemsOf("1"));
  EXPECT_EQ(itemsOf("1").at(3).name, "transaction_id");
  EXPECT_EQ(itemsOf("1").at(3).value->size(), 12U);
  EXPECT_NE(itemsOf("1").at(3), itemsOf("2").at(3));
}

TEST(Response, RefusesWhatTheRequestCantBeAnsweredWith) {
  const LaunchLink list = readLink("getTransactionList?x=");
  EXPECT_EQ(respond(list, Outcome::wrongId).error().message,
            "the outcome wrong-id needs a request with an id");
  EXPECT_EQ(respond(list, Decision{.transport = Transport::gzip}).error().message,
            "only a payment is answered by gzip");
  EXPECT_EQ(
      respond(list, Decision{.word = "saved"}).error().message,
      "the word \"saved\" isn't transactionList's for the outcome approve: success, succeeded, completed");
  EXPECT_EQ(respond(list, Decision{.outcome = Outcome::noStatus, .word = "saved"}).error().message,
            "the outcome no-status has no status word to choose");
}

TEST(Response, WithoutAnAmountIsAnApproval) {
  EXPECT_EQ(usualOutcome(readLink("reboot?request_id=1")), Outcome::approve);
  EXPECT_EQ(usualOutcome(readLink("clear_data?request_id=1&amount=3.01")), Outcome::decline);
}

Outcome outcomeOf(std::string_view amount) { return outcomeForAmount(*Decimal::parse(amount)); }

TEST(Outcome, TheFractionOfAnAmountDecides) {
  for (const auto& [fraction, outcome] : decidingFractions) {
    EXPECT_EQ(outcomeOf("0." + std::string(fraction)), outcome);
    EXPECT_EQ(outcomeOf("1234." + std::string(fraction) + "0"), outcome);
  }
  for (const std::string_view amount :
       {"0", "1", "101", "12.5", "12.1", "12.10", "12.011", "12.001", "1e2", "1.99"}) {
    EXPECT_EQ(outcomeOf(amount), Outcome::approve) << amount;
  }
}

TEST(Outcome, TheDocumentationShowsEachDecidingFraction) {
  const std::string page = contentOf(test::testDataPath("../../docs/rehearsing.md"));
  for (const auto& [fraction, outcome] : decidingFractions) {
    const std::string row = "| ." + std::string(fraction) + " | `" + std::string(rawText(outcome)) + "` |";
    EXPECT_NE(page.find(row), std::string::npos) << row;
  }
}

}  // namespace
}  // namespace tilvanego::sandbox
