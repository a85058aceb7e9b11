#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

using Type = TilvaneGoTransactionType;
using Transaction = TilvaneGoTransaction;
using Transactions = std::vector<Transaction>;

Decimal decimal(std::string_view text) { return Decimal::parse(text).value(); }

/// The callback of a success with this list. The text goes through the library's own encoding of items.
URL callbackWith(const std::string& list) {
  const std::vector<QueryItem> items{
      {"status", " Completed "}, {"transaction_count", "7"}, {"transactionList", list}};
  return parsedURL("myshop://done").replacingQueryItems(items).value();
}

std::optional<Transactions> listIn(const std::string& json) {
  const auto result = TilvaneGo::parseTransactionListResult(callbackWith(json)).value();
  if (const auto* success = std::get_if<TransactionListResult::Success>(&result))
    return success->response.transactions();
  const auto& failure = std::get<TransactionListResult::Failure>(result);
  EXPECT_EQ(failure.error.name(), "decodingFailed");
  EXPECT_TRUE(failure.error.errorDescription().starts_with("Transaction list could not be decoded: "));
  EXPECT_TRUE(failure.response.value().transactions().empty());
  EXPECT_EQ(failure.response.value().transactionCount(), 7);
  return std::nullopt;
}

std::optional<Transaction> transactionIn(const std::string& fields) {
  const auto list = listIn("[{" + fields + "}]");
  return list ? std::optional(list->at(0)) : std::nullopt;
}

constexpr auto details = R"("transactionDetails":{})";

TEST(TransactionRecords, HoldEveryField) {
  const auto transaction = transactionIn(
      R"("amount":12.1,"tip":0.30,"type":"SALE","customId":"c","customID":"C","notes":"","other":[1],
         "transactionDetails":{"status":"APPROVED","description":"d","transactionId":"T","timestamp":"today",
         "approvedAmount":"12.10","requestedAmount":"x","authCode":"1","processorMessage":"\u00e9",
         "entryMode":"FALLBACK_SWIPE","cardBrand":"AMERICAN EXPRESS","cardLast4":"4242"})");
  EXPECT_EQ(transaction, (Transaction{.amount = decimal("12.1"),
                                      .tip = decimal("0.3"),
                                      .type = Type::sale,
                                      .customId = "c",
                                      .customID = "C",
                                      .notes = "",
                                      .transactionDetails = TilvaneGoTransactionDetails{
                                          .status = models::Status::approved,
                                          .description = "d",
                                          .transactionId = "T",
                                          .timestamp = "today",
                                          .approvedAmount = "12.10",
                                          .requestedAmount = "x",
                                          .authCode = "1",
                                          .processorMessage = "\u00e9",
                                          .entryMode = models::ResponseEntryMode::fallbackSwipe,
                                          .cardBrand = models::CardBrand::americanExpress,
                                          .cardLast4 = "4242"}}));
}

TEST(TransactionRecords, AreReadWithAllThatIsOptionalLeftOutOrNull) {
  const Transaction bare{.amount = 3};
  EXPECT_EQ(transactionIn(R"("amount":3,)" + std::string(details)), bare);
  EXPECT_EQ(transactionIn(R"("amount":3.0,"tip":null,"type":null,"customId":null,"customID":null,"notes":null,
                             "transactionDetails":{"status":null,"entryMode":null,"cardBrand":null,"cardLast4":null})"),
            bare);
}

TEST(TransactionRecords, ThatCantBeReadFailTheWholeList) {
  const std::string good = R"({"amount":1,"transactionDetails":{}})";
  for (const char* bad : {
           R"({"transactionDetails":{}})",
           R"({"amount":null,"transactionDetails":{}})",
           R"({"amount":"1","transactionDetails":{}})",
           R"({"amount":1e300,"transactionDetails":{}})",
           R"({"amount":1,"tip":"1","transactionDetails":{}})",
           R"({"amount":1,"type":1,"transactionDetails":{}})",
           R"({"amount":1})",
           R"({"amount":1,"transactionDetails":[]})",
           R"({"amount":1,"transactionDetails":{"status":1}})",
           R"({"amount":1,"transactionDetails":{"approvedAmount":1}})",
           "null",
           "[]",
       }) {
    EXPECT_EQ(listIn("[" + good + "," + bad + "]"), std::nullopt) << bad;
  }
}

TEST(TransactionLists, AreJSONArraysAndNothingElse) {
  EXPECT_EQ(listIn("[]"), Transactions{});
  EXPECT_EQ(listIn(" [ ] "), Transactions{});
  for (const char* text : {"", "{}", "null", "[", "[]]", "text", "[],", "[1"}) {
    EXPECT_EQ(listIn(text), std::nullopt) << text;
  }
  EXPECT_EQ(listIn(std::string(1 << 20, '[')), std::nullopt) << "depth is bounded";
}

TEST(TransactionLists, AreFoundByEitherNameOnceTheStatusIsGood) {
  const auto parse = [](std::string_view query) {
    return summary(TilvaneGo::parseTransactionListResult(parsedURL("a://b?" + std::string(query)))).value();
  };
  constexpr auto missing =
      "failure(missingTransactionList: Transaction list callback is missing transactionList.)+";
  EXPECT_EQ(parse("status=success"), missing);
  EXPECT_EQ(parse("transactionList=[]&status=approved"),
            "failure(transactionListFailed: Transaction list failed with code unknown.)+");
  EXPECT_EQ(parse("status=success&transactionList"), missing);
  EXPECT_EQ(parse("status=success&transactionList=%FF"), missing);
  EXPECT_EQ(parse("status=success&transactionList&transaction_list=[]"), missing)
      << "the first in the URL decides";
  EXPECT_EQ(parse("status=success&transaction_list=[]&transactionList=x"), "success+");
}

TEST(TransactionLists, OfTenThousandAreReadInOneCallback) {
  std::string json = "[";
  for (int i = 0; i < 10'000; ++i) {
    json += (i == 0 ? "" : ",") + (R"({"amount":)" + std::to_string(i)) +
            R"(.25,"type":"sale","transactionDetails":{"transactionId":"T)" + std::to_string(i) + R"("}})";
  }
  const auto list = listIn(json + "]");
  ASSERT_TRUE(list && list->size() == 10'000);
  EXPECT_EQ(list->back().id(), "T9999-9999.25");
}

TEST(TransactionTypes, AreReadTolerantly) {
  struct Row {
    std::string_view text;
    Type expected;
  };
  for (const auto& [text, expected] :
       {Row{"auth", Type::authorization}, Row{" AUTH\\n", Type::authorization},
        Row{"Authorization ", Type::authorization}, Row{" init", Type::unknownDefaultOpenApi},
        Row{"_init", Type::initialization}, Row{" _INIT ", Type::initialization},
        Row{"initialization", Type::initialization}, Row{"Sale", Type::sale},
        Row{" sale", Type::unknownDefaultOpenApi},
        Row{"unknown_default_open_api", Type::unknownDefaultOpenApi}, Row{"", Type::unknownDefaultOpenApi},
        Row{"resale", Type::unknownDefaultOpenApi}}) {
    const auto transaction =
        transactionIn(R"("amount":1,"type":")" + std::string(text) + R"(",)" + std::string(details));
    ASSERT_TRUE(transaction) << text;
    EXPECT_EQ(transaction->type, expected) << text;
  }
  EXPECT_EQ(fromRawText<Type>("SALE"), std::nullopt) << "a look-up by raw text is exact";
  for (const Type type : allCases<Type>()) EXPECT_EQ(transactionTypeFrom(rawText(type)), type);
}

TEST(TransactionAmounts, AreTheShortestDecimalsOfTheirNumbers) {
  for (const auto& [json, expected] :
       std::vector<std::pair<std::string, std::string>>{{"-0.30", "-0.3"},
                                                        {"1e2", "100"},
                                                        {"-0", "0"},
                                                        {"9007199254740993", "9007199254740992"},
                                                        {"12.10000000000000000001", "12.1"}}) {
    EXPECT_EQ(transactionIn(R"("amount":)" + json + "," + details).value().amount.text(), expected) << json;
  }
}

TEST(TransactionRecords, WriteTheirAmountsAsTexts) {
  EXPECT_EQ(json::encode(Transaction{.amount = decimal("1234.5")}).value(),
            R"({"amount":"1234.5","transactionDetails":{}})");
  const Transaction full{
      .amount = decimal("1234567.0005"),
      .tip = decimal("0.0015"),
      .type = Type::initialization,
      .customId = "a",
      .customID = "b",
      .notes = "c",
      .transactionDetails = TilvaneGoTransactionDetails{.status = models::Status::unknownDefaultOpenApi,
                                                        .cardBrand = models::CardBrand::dinersClub}};
  const std::string text = json::encode(full).value();
  EXPECT_EQ(text,
            R"({"amount":"1234567","tip":"0.002","type":"init","customId":"a","customID":"b","notes":"c",)"
            R"("transactionDetails":{"status":"unknown_default_open_api","cardBrand":"DINERS CLUB"}})");
  EXPECT_EQ(listIn("[" + text + "]"), std::nullopt) << "what was written isn't read";
}

TEST(TransactionIds, JoinWhatIsThere) {
  EXPECT_EQ((Transaction{.amount = 3}).id(), "3");
  EXPECT_EQ(
      (Transaction{.amount = decimal("0.00015"),
                   .customId = "",
                   .customID = "b",
                   .transactionDetails = TilvaneGoTransactionDetails{.transactionId = "a", .timestamp = "t"}})
          .id(),
      "a--b-t-0.00015");
}

TEST(CardLabels, SayWhatIsThereOfBrandAndDigits) {
  using Details = TilvaneGoTransactionDetails;
  EXPECT_EQ((Details{.cardLast4 = "4242"}).cardLabel(), "4242");
  EXPECT_EQ((Details{.cardBrand = models::CardBrand::americanExpress}).cardLabel(), "AMERICAN EXPRESS");
  EXPECT_EQ(Details{}.cardLabel(), "");
}

}  // namespace
}  // namespace tilvanego::test
