#include <array>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <tilvanego/sandbox/Response.h>

#include "tests/support/Kinds.h"
#include "tests/support/TestHost.h"

namespace tilvanego::sandbox {
namespace {

/// Starts an operation, answers its link, and gives the summary of what its completion got; empty if it
/// didn't run.
std::string roundTrip(const test::Kind& kind, Outcome outcome) {
  test::TestHost host;
  kind.start(host, test::parsedURL("shop://done"));
  const auto link = LaunchLink::read(host.application->openedURLs().at(0));
  if (!link) return link.error().message;
  EXPECT_EQ(rawText(link->operation()), kind.name);
  EXPECT_EQ(link->requestId(), "A-1");
  for (const std::string& line : link->lines()) {
    EXPECT_EQ(line.find(test::secretToken), std::string::npos) << line;
  }
  const auto callback = respond(*link, outcome);
  if (!callback) return callback.error().message;
  host.takeEvents();
  if (*callback) {
    EXPECT_TRUE(host.sdk->handleCallback(**callback));
  }
  const auto events = host.takeEvents();
  return events.empty() ? "" : events.at(0).substr(kind.name.size() + 1);
}

struct Case {
  std::string_view kind;
  std::string_view approve;
  std::string_view decline;
  std::string_view cancel;
  std::string_view fail;
};

TEST(OperationAnswers, GiveTheHostEachOutcomeByTheOperationsOwnWords) {
  constexpr std::string_view withCode05 = ": Declined by the issuer (05))+";
  constexpr std::string_view withCode17 = ": Cancelled on the terminal (17))+";
  constexpr std::string_view withCode96 = ": The terminal reported a fault (96))+";
  const std::array cases{
      Case{"payment", "success+", "declined+", "cancelled+", "Payment failed with status failed.)+"},
      Case{"initialization", "initialized+", "Initialization failed with status declined.)+",
           "Initialization failed with status cancelled.)+", "Initialization failed with status failed.)+"},
      Case{"transactionList", "success+", withCode05, withCode17, withCode96},
      Case{"fullRefund", "success+", withCode05, withCode17, withCode96},
      Case{"partialRefund", "success+", withCode05, withCode17, withCode96},
      Case{"capture", "success+", withCode05, withCode17, withCode96},
      Case{"clearData", "success+", "masked+", "cancelled+", withCode96},
      Case{"reboot", "success+", withCode05, withCode17, withCode96},
      Case{"save", "success+", "declined+", "cancelled+", withCode96},
  };
  static_assert(cases.size() == allCases<Operation>().size());
  for (const auto& [name, approve, decline, cancel, fail] : cases) {
    const test::Kind& kind = test::kindNamed(name);
    const auto expect = [&](Outcome outcome, std::string_view ending) {
      const std::string result = roundTrip(kind, outcome);
      EXPECT_TRUE(result.ends_with(ending)) << name << " " << rawText(outcome) << ": " << result;
      EXPECT_EQ(result.starts_with("failure("), ending.ends_with(")+")) << name << ": " << result;
    };
    expect(Outcome::approve, approve);
    expect(Outcome::decline, decline);
    expect(Outcome::cancel, cancel);
    expect(Outcome::fail, fail);
    expect(Outcome::wrongId, " callback request ID mismatch. Expected A-1, received A-1-other.)+");
    expect(Outcome::noStatus, " callback is missing a status.)+");
    EXPECT_TRUE(
        roundTrip(kind, Outcome::unknownStatus).starts_with("failure(" + std::string(name) + "Failed"))
        << name;
    EXPECT_EQ(roundTrip(kind, Outcome::silent), "");
  }
}

template <typename Result>
auto approved(Result (*parse)(URL, const std::optional<std::string>&, const std::optional<URL>&),
              std::string_view link) {
  const auto read = LaunchLink::read(test::parsedURL("tilvanego://payment/v1/" + std::string(link)));
  return parse(**respond(*read, Outcome::approve), std::nullopt, std::nullopt)->response().value();
}

TEST(OperationAnswers, HoldWhatTheOperationIsFor) {
  const auto list = approved(TilvaneGo::parseTransactionListResult, "getTransactionList?return_url=a:b");
  EXPECT_EQ(list.transactionCount(), 2);
  ASSERT_EQ(list.transactions().size(), 2U);
  EXPECT_EQ(list.transactions()[0].transactionDetails.cardLabel(), "VISA 1111");

  const auto captured = approved(TilvaneGo::parseCaptureResult,
                                 "capture?request_id=1&transaction_id=T&amount=12.50&return_url=a:b");
  EXPECT_EQ(captured.approvedAmount(), "12.50");
  EXPECT_EQ(captured.originalTransactionId(), "T");
  EXPECT_NE(captured.transactionId(), "T");

  const auto cleared = approved(TilvaneGo::parseClearDataResult, "clear_data?request_id=1&return_url=a:b");
  EXPECT_EQ(cleared.clearPan(), "4111111111111111");
  EXPECT_EQ(cleared.clearTrack2(), ";4111111111111111=30121010000000000000?");

  const auto rebooted = approved(TilvaneGo::parseRebootResult, "reboot?request_id=1&return_url=a:b");
  EXPECT_EQ(rebooted.responseCode(), 0);
  EXPECT_TRUE(rebooted.readerSerial());

  const auto saved = approved(TilvaneGo::parseSaveResult, "save?request_id=1&currency=EUR&return_url=a:b");
  EXPECT_EQ(saved.cardLast4(), "1111");
  EXPECT_TRUE(saved.approvalCode() && saved.transactionId() && saved.entryMode() && saved.cardBrand());
}

}  // namespace
}  // namespace tilvanego::sandbox
