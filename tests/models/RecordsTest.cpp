#include <expected>
#include <sstream>
#include <unordered_set>

#include <tilvanego/Models.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/models/Catalogue.h>
#include <tilvanego/values/SecretNames.h>
#include <tilvanego/values/Text.h>

#include "tests/models/ModelTables.h"
#include "tests/support/AllocationCount.h"

namespace tilvanego::models {
namespace {

std::string written(std::string_view name, std::string_view text) {
  const auto record = findRecordType(name)->decode(text);
  return record ? record->encode().value() : record.error().report();
}

TEST(Records, WriteTheirFieldsToAStream) {
  EXPECT_EQ(testing::PrintToString(Trace{.cashier = "A\nnn", .timestamp = Date(), .tags = {{"a", "b"}}}),
            R"(Trace(cashier: "A\nnn", clientIp: nil, customId: nil, timestamp: 1970-01-01T00:00:00.000Z, )"
            R"(extTransactionId: nil, tags: ["a", "b"]))");
  EXPECT_EQ(testing::PrintToString(AmountsExtended{.total = "12.50"}),
            R"(AmountsExtended(currency: USD, total: "12.50", gratuity: nil, cashback: nil))");
  EXPECT_EQ(testing::PrintToString(TenderType::ebt), "EBT");
  EXPECT_EQ(testing::PrintToString(static_cast<TenderType>(99)), "99");
  // Card data, as every record that has some.
  EXPECT_EQ(testing::PrintToString(VeilmarkCardToken{.osid = "o", .cardNumber = "4", .cardExpiration = "5"}),
            "VeilmarkCardToken(osid: present, cardNumber: present, cardExpiration: present)");
  EXPECT_EQ(testing::PrintToString(CardResponse{.bin = "411111", .last4 = "1111", .expiry = "1229"}),
            R"(CardResponse(name: nil, brand: nil, bin: present, last4: "1111", expiry: present))");
  for (const RecordType& type : recordTypes()) {
    for (const FieldDescription& field : type.fields) {
      const std::string name = lowercased(field.key);
      bool isNamed = false;
      for (const std::string_view part : {"token", "osid", "number", "expir", "bin", "track", "cvc",
                                          "password", "secret", "signature", "cryptogram"}) {
        isNamed = isNamed || name.contains(part);
      }
      const bool isText = field.type.contains("String");
      EXPECT_EQ(isHiddenField(field.key), isNamed && isText) << type.name << "." << field.key;
    }
  }
  std::ostringstream nested;
  nested << TraceResponse{.history = std::vector<TransactionHistoryRecord>(1)};
  EXPECT_TRUE(nested.str().contains("history: [TransactionHistoryRecord(")) << nested.str();
}

TEST(Records, TextsAreReadAndWrittenAsTheInterfaceHasThem) {
  static constexpr std::array<std::string_view, 3> cases[] = {
      {"ApiViolation", "{}", "{}"},
      {"ErrorDetail", " { } ", "{}"},
      // One key of all is capitalised.
      {"AmountsResponse",
       R"({"currency":"USD","approved":"1","requested":"1","gratuity":"2","Gratuity":"3"})",
       R"({"currency":"USD","approved":"1","requested":"1","Gratuity":"3"})"},
      {"AmountsResponse", R"({"currency":"USD","approved":"1","requested":"1","gratuity":"2"})",
       R"({"currency":"USD","approved":"1","requested":"1"})"},
      {"ReprintReceiptRequest", R"({"mmId":1,"transactionId":"1","copy":"merchant"})",
       R"({"transactionId":"1","copy":"merchant"})"},
      // Enumerations, byte for byte.
      {"AuthResponse",
       R"({"message":"INVALID CARD NUMBER","processorMessage":"","avsResponseCode":"","cvv2ResponseCode":"?"})",
       R"({"message":"INVALID CARD NUMBER","processorMessage":"","avsResponseCode":"","cvv2ResponseCode":"?"})"},
      {"AuthResponse", R"({"message":"approved","processorMessage":"","avsResponseCode":" "})",
       R"({"message":"unknown_default_open_api","processorMessage":"","avsResponseCode":"unknown_default_open_api"})"},
      {"ShowDialogStyle", R"({"textColor":"LIGHT","textSize":"Large"})",
       R"({"textColor":"LIGHT","textSize":"unknown_default_open_api"})"},
      // Values.
      {"StatusResponse", R"({"timestamp":"2024-03-05"})", R"({"timestamp":"2024-03-05T00:00:00.000Z"})"},
      {"StatusResponse", R"({"timestamp":"2024-03-05T12:20:30+02:00"})",
       R"({"timestamp":"2024-03-05T10:20:30.000Z"})"},
      {"ApiViolation", R"({"traceId":"6f9619ff-8b86-d011-b42d-00cf4fc964ff"})",
       R"({"traceId":"6F9619FF-8B86-D011-B42D-00CF4FC964FF"})"},
      {"ModelError", R"({"code":9223372036854775807,"message":"a/b"})",
       R"({"code":9223372036854775807,"message":"a\/b"})"},
      // The first of equal keys counts.
      {"CancelRequest", R"({"timeout":1,"timeout":"2"})", R"({"timeout":1})"},
      // A rule is nothing to a reader.
      {"ProcessPoiRebootRequest", R"({"delayInSeconds":61})", R"({"delayInSeconds":61})"},
  };
  for (const auto& [record, given, expected] : cases) EXPECT_EQ(written(record, given), expected) << given;
}

TEST(Records, RefusalsNameThePathAndWhatIsWrong) {
  static constexpr std::array<std::string_view, 3> cases[] = {
      {"TransactionResponse", R"({"trace":{"history":[{},{},{"timestamp":"2024-02-30"}]}})",
       "trace.history[2].timestamp: expected a date"},
      {"TransactionResponse", R"({"auth":{"processorMessage":""}})", "auth.message: missing key"},
      {"Trace", R"({"tags":["a",null]})", "tags[1]: expected a text, found null"},
      {"ApiViolation", R"({"traceId":"{6F9619FF-8B86-D011-B42D-00CF4FC964FF}"})", "traceId: expected a UUID"},
      {"ApiViolation", R"({"details":[{"source":[]}]})", "details[0].source: expected a text, found a list"},
      {"CancelRequest", R"({"timeout":1.5})", "timeout: the number is not a whole number of 64 bits"},
      // The order is the record's, at every level, and a text that is no JSON comes before all.
      {"TransactionResponse",
       R"({"cvm":{},"auth":{"networkName":1,"code":2},"trace":{"history":[{"requestId":1}]}})",
       "trace.history[0].requestId: expected a text, found a number"},
      {"TransactionResponse", R"({"auth":{"networkName":1},"more":[01]})",
       "$: unexpected character (byte 35)"},
      {"Amounts",
       R"({"total":1})"
       "x",
       "$: something follows the value (byte 11)"},
      {"Amounts", "{\"total\":1,\"more\":\"\xFF\"}", "$: text that is not UTF-8 (byte 19)"},
  };
  for (const auto& [record, given, report] : cases) EXPECT_EQ(written(record, given), report) << given;
}

TEST(Records, AreBuiltFieldByFieldComparedAndHashed) {
  const SaleAndAuthRequest sale{
      .amounts = AmountsExtended{.total = "12.50"},
      .trace = Trace{.timestamp = Date::fromSecondsSince1970(1.0625), .tags = {{"a"}}},
      .ebt = EBT{EBT::ModelType::food, "17"},
      .savePayment = false};
  const auto text = encode(sale);
  EXPECT_EQ(text, R"({"amounts":{"currency":"USD","total":"12.50"},)"
                  R"("trace":{"timestamp":"1970-01-01T00:00:01.062Z","tags":["a"]},)"
                  R"("ebt":{"type":"FOOD","voucherNumber":"17"},"savePayment":false})");
  EXPECT_EQ(encode(SaleAndAuthRequest{.amounts = AmountsExtended{.total = "1"}}),
            R"({"amounts":{"currency":"USD","total":"1"}})");

  SaleAndAuthRequest other = sale;
  EXPECT_EQ(other, sale);
  std::unordered_set<SaleAndAuthRequest> seen{sale, other};
  EXPECT_EQ(seen.size(), 1u);
  other.trace->tags->emplace_back("b");
  EXPECT_NE(other, sale);
  EXPECT_TRUE(seen.insert(other).second);
  EXPECT_EQ(encode(CancelResponse{.status = "\xFF"}).error().failure, JSONFailure::invalidUTF8);
}

TEST(Records, RequiredEnumerationsBeginSoThatAForgottenOneIsSeen) {
  EXPECT_EQ(encode(AuthResponse{.processorMessage = ""}),
            R"({"message":"unknown_default_open_api","processorMessage":""})");
  EXPECT_EQ(encode(CVM{}), R"({"method":"unknown_default_open_api"})");
  EXPECT_EQ(AmountsExtended{.total = ""}.currency, Currency::usd);
}

TEST(Records, CodingKeysAreAnEnumerationOfTheKeys) {
  using Keys = AmountsResponse::CodingKeys;
  EXPECT_EQ(allCases<Keys>().size(), 8u);
  EXPECT_EQ(rawText(Keys::gratuity), "Gratuity");
  EXPECT_EQ(fromRawText<Keys>("gratuity"), std::nullopt);
  EXPECT_EQ(rawText(AmountsExtended::CodingKeys::gratuity), "gratuity");
}

TEST(Records, UnknownTextsAreToldByTheRecordThatHoldsThemAlone) {
  const auto response = decode<TransactionResponse>(
      R"({"auth":{"message":"NO IDEA","processorMessage":""},"card":{"brand":"AMEX"}})");
  EXPECT_FALSE(response->containsUnknownDefaultOpenApiCase());
  EXPECT_TRUE(response->auth->containsUnknownDefaultOpenApiCase());
  EXPECT_TRUE(response->card->containsUnknownDefaultOpenApiCase());
  EXPECT_FALSE(Amounts{}.containsUnknownDefaultOpenApiCase());
}

template <typename Enumeration>
concept Tells = requires(Enumeration value) { containsUnknownDefaultOpenApiCase(value); };
template <typename... Enumerations>
constexpr bool allTell = (Tells<Enumerations> && ...);
template <typename... Enumerations>
constexpr bool noneTells = (!Tells<Enumerations> && ...);

static_assert(allTell<AVSResponseCode, AuthMessageEnum, CVV2ResponseCode, CardBrand, Currency, ErrorType,
                      ResponseEntryMode, Status, TenderType>);
static_assert(noneTells<BinDataResponse::Program, BinDataResponse::ProgramCard, CVM::Method, EBT::ModelType,
                        ListTransactionResponseInstance::TransactionType, ReprintReceiptRequest::Copy,
                        ReprintReceiptRequest::TransType, ShowDialogStyle::TextColor,
                        ShowDialogStyle::TextSize, TransactionHistoryRecord::Action, Amounts::CodingKeys>);
static_assert(containsUnknownDefaultOpenApiCase(Status::unknownDefaultOpenApi));
static_assert(!containsUnknownDefaultOpenApiCase(Status::force));

TEST(Records, ValuesUnderRulesAreShownWithTheirPaths) {
  const AnyRecord record =
      findRecordType("TransactionResponse")
          ->decode(R"({"trace":{"history":[{"requestId":"1"}],"extTransactionId":"e"},"card":{"last4":"1"},)"
                   R"("amounts":{"currency":"USD","requested":"2","approved":"1","Gratuity":"3"}})")
          .value();
  std::vector<std::string> seen;
  record.visitRules([&](const std::string& path, const RuledValue& value) {
    seen.push_back(path + '=' + std::get<Ruled<std::string, StringRule>>(value).value);
  });
  EXPECT_EQ(seen, (std::vector<std::string>{"amounts.approved=1", "amounts.requested=2", "amounts.Gratuity=3",
                                            "trace.extTransactionId=e", "card.last4=1"}));
}

// What is stored is allocated once, as a copy would.
TEST(Records, AreReadWithTheAllocationsOfACopy) {
  constexpr std::string_view longText = "a text of more than a few characters";
  std::string text = test::ModelTables::shared().sample("TransactionResponse");
  for (std::size_t at = 0; (at = text.find("12.50", at)) != text.npos; at += longText.size())
    text.replace(at, 5, longText);
  std::optional<TransactionResponse> copy;
  std::optional<std::expected<TransactionResponse, JSONError>> read;
  // The form of dates is made with the first of all reads.
  ASSERT_TRUE(decode<TransactionResponse>("{}"));
  const std::size_t reading = test::allocationsOf([&] { read.emplace(decode<TransactionResponse>(text)); });
  EXPECT_EQ(reading, test::allocationsOf([&] { copy.emplace(read->value()); }));
  EXPECT_GT(reading, 50u);
}

TEST(Records, ListsGoByTheRulesOfRecords) {
  const auto list = decode<std::vector<Trace>>(R"([{"timestamp":"2024-03-05"},{}])");
  ASSERT_TRUE(list.has_value());
  EXPECT_EQ(encode(*list), R"([{"timestamp":"2024-03-05T00:00:00.000Z"},{}])");
  const std::pair<const char*, const char*> refusals[] = {
      {R"([{},{"tags":[1],"cashier":2}])", "[1].cashier: expected a text, found a number"},
      {R"([{},{"cashier":2},01])", "$: unexpected character (byte 19)"},
      {R"([null])", "[0]: expected an object, found null"},
      {"{}", "$: expected a list, found an object"},
  };
  for (const auto& [text, report] : refusals)
    EXPECT_EQ(decode<std::vector<Trace>>(text).error().report(), report);
  EXPECT_EQ(decode<std::vector<Trace>>("[{},{}]", {.elements = 1}).error().report(),
            "$: more than 1 elements (byte 4)");
  EXPECT_EQ(encode(std::vector{CVM{}, CVM{static_cast<CVM::Method>(99)}}).error().report(),
            "[1].method: a value that is no case of its enumeration");
}

// Records are many times as large as the two bytes that make one.
TEST(Records, AListOfEmptyRecordsStaysWithinTheMemoryOfItsLimits) {
  std::string text = "[";
  while (text.size() < 2'000'000) text += "{},";
  text.back() = ']';
  const std::size_t cost = test::peakBytesOf([&] {
    EXPECT_EQ(decode<std::vector<TransactionResponse>>(text).error().failure, JSONFailure::beyondLimit);
  });
  EXPECT_LE(cost, JSONLimits().memory + (1u << 20));
  const std::string report = findRecordType("TraceResponse")
                                 ->decode(R"({"history":)" + text + "}", {.memory = 1000})
                                 .error()
                                 .report();
  EXPECT_TRUE(report.starts_with("history[") &&
              report.contains("]: what was read takes more than 1000 bytes of memory (byte "))
      << report;
}

// A record is a value like any other to the JSON layer; dates then have its default form.
TEST(Records, TakePartInJSONOfAnyShape) {
  const auto list = json::decode<std::vector<Trace>>(R"([{"timestamp":"2024-03-05T10:20:30Z"},{}])");
  EXPECT_EQ(json::encode(list.value()), R"([{"timestamp":"2024-03-05T10:20:30Z"},{}])");
}

}  // namespace
}  // namespace tilvanego::models
