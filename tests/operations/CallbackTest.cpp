#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

std::string opening(const Kind& kind) {
  std::string text(kind.words);
  text[0] = static_cast<char>(text[0] - 'a' + 'A');
  return text;
}

TEST(CallbackWords, AreMissingInEveryKindAlike) {
  for (const Kind& kind : allKinds()) {
    const std::string missing =
        "failure(missingStatus: " + opening(kind) + " callback is missing a status.)+";
    for (const char* query :
         {"", "?", "?status", "?status=", "?status=%20%09", "?status&status=success", "?status=%FF"}) {
      EXPECT_EQ(kind.parse(parsedURL("a://b" + std::string(query))), missing) << kind.name << query;
    }
  }
}

TEST(CallbackIds, OfAnotherRequestFailEveryKindBeforeTheStatusIsReadForIt) {
  for (const Kind& kind : allKinds()) {
    for (const char* key : {"request_id", "requestId", "session_id", "SESSIONID"}) {
      TestHost host;
      kind.start(host, parsedURL("myshop://done"));
      host.takeEvents();
      EXPECT_TRUE(host.sdk->handleCallback(parsedURL("myshop://done?" + std::string(key) + "=B")));
      EXPECT_EQ(host.takeEvents(),
                std::vector{std::string(kind.name) + " failure(requestIdMismatch: " + opening(kind) +
                            " callback request ID mismatch. Expected A-1, received B.)+"});
      EXPECT_FALSE((*host.sdk.*kind.isInProgress)());
    }
  }
}

TEST(CallbackIds, AreNotAskedForByAListWithoutOne) {
  TestHost host;
  host.sdk->getTransactionList(
      TransactionListRequest({.requestId = " ", .callbackURL = parsedURL("myshop://done")}),
      noting(host, "list"));
  host.takeEvents();
  EXPECT_TRUE(
      host.sdk->handleCallback(parsedURL("myshop://done?request_id=any&status=success&transactionList=[]")));
  EXPECT_EQ(host.takeEvents(), std::vector<std::string>{"list success+"});
}

TEST(FailureText, SaysMessageAndCodeAsFarAsTheyCame) {
  struct Row {
    std::string_view query;
    std::string_view expected;
  };
  for (const std::string_view name :
       {"transactionList", "fullRefund", "partialRefund", "capture", "clearData", "reboot", "save"}) {
    const Kind& kind = kindNamed(name);
    const std::string code51 = opening(kind) + " failed with code 51.";
    const std::string codeEmpty = opening(kind) + " failed with code .";
    const std::string codeUnknown = opening(kind) + " failed with code unknown.";
    for (const auto& [query, expected] :
         {Row{"", codeUnknown}, Row{"&error_code=51", code51}, Row{"&error_code=", codeEmpty},
          Row{"&error_message=", ""}, Row{"&error_message=No&error_code=51", "No (51)"},
          Row{"&error_message=&errorCode=51", " (51)"}}) {
      EXPECT_EQ(kind.parse(parsedURL("a://b?status=failed" + std::string(query))),
                "failure(" + std::string(name) + "Failed: " + std::string(expected) + ")+")
          << query;
    }
  }
}

TEST(FailureText, KnowsShortKeysWhereTheKindDoes) {
  const URL url = parsedURL("a://b?status=failed&code=51&message=No");
  EXPECT_EQ(kindNamed("transactionList").parse(url), "failure(transactionListFailed: No)+");
  EXPECT_EQ(kindNamed("save").parse(url), "failure(saveFailed: Save failed with code 51.)+");
}

/// The response to `url`, which brings every field.
template <typename Result>
typename Result::Response responseOf(const std::optional<Result>& result) {
  return result.value().response().value();
}

TEST(CallbackFields, AreTheRawTextsOfTheFirstItemsOfTheirNames) {
  using namespace std::string_literals;
  URL url = parsedURL("a://b?requestId=%20A&result=%20x&processorMessage=m%26&message=late&error=later");
  EXPECT_EQ(responseOf(TilvaneGo::parseInitializationResult(url)),
            InitializationResponse({.callbackURL = url, .requestId = " A", .status = " x", .message = "m&"}));
  url = parsedURL("a://b?error=e");
  EXPECT_EQ(responseOf(TilvaneGo::parseInitializationResult(url)).message(), "e");

  url = parsedURL("a://b?session_id=A&txn_id=T+1&STATUS=approved&code=c&message=&errorMessage=late");
  EXPECT_EQ(responseOf(TilvaneGo::parseFullRefundResult(url)), FullRefundResponse({.callbackURL = url,
                                                                                   .requestId = "A",
                                                                                   .transactionId = "T+1",
                                                                                   .status = "approved",
                                                                                   .errorCode = "c",
                                                                                   .errorMessage = ""}));

  url = parsedURL("a://b?sessionId=A&status=masked&clearPan=4111%201&clear_track2=;1=2?%00&code=c&message=m");
  EXPECT_EQ(responseOf(TilvaneGo::parseClearDataResult(url)), ClearDataResponse({.callbackURL = url,
                                                                                 .requestId = "A",
                                                                                 .status = "masked",
                                                                                 .clearPan = "4111 1",
                                                                                 .clearTrack2 = ";1=2?\0"s,
                                                                                 .errorCode = "c",
                                                                                 .errorMessage = "m"}));

  url = parsedURL("a://b?status=ok&message=p");
  EXPECT_EQ(responseOf(TilvaneGo::parseSaveResult(url)).processorMessage(), "p");
}

TEST(CallbackIntegers, AreSignedDigitsThatFit64Bits) {
  std::map<std::string, std::optional<std::int64_t>> texts;
  for (const std::int64_t number :
       {std::int64_t{0}, std::int64_t{-7}, std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min()}) {
    texts[std::to_string(number)] = number;
  }
  texts["+7"] = texts["007"] = 7;
  for (const char* text : {"9223372036854775808", "-9223372036854775809", "", "+", "-", "+-7", "7%20", "%207",
                           "7x", "7.0", "%D9%A7", "7%00"}) {
    texts[text] = std::nullopt;
  }
  for (const auto& [text, expected] : texts) {
    const auto reboot =
        TilvaneGo::parseRebootResult(parsedURL("a://b?status=rebooted&response_code=" + text));
    EXPECT_EQ(summary(reboot), "success+") << text;
    EXPECT_EQ(responseOf(reboot).responseCode(), expected) << text;
  }
}

}  // namespace
}  // namespace tilvanego::test
