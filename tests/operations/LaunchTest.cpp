#include "tests/support/Kinds.h"
#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

const URL callback = parsedURL("myshop://done?a=1&b=2");

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// "Clear Data" for "clear data".
std::string inTitleCase(std::string_view words) {
  std::string text(words);
  for (std::size_t at = 0; at < text.size(); at = std::min(text.find(' ', at), text.size() - 1) + 1) {
    text[at] = static_cast<char>(text[at] - 'a' + 'A');
  }
  return text;
}

/// The first line that an operation shows. `fields` are those of its request, "%URL%" stands for the callback
/// URL.
std::string description(std::string_view kind, const std::string& fields) {
  const std::string words = inTitleCase(kindNamed(kind).words);
  return "debug Sending " + words + " Request - [" + replaced(words, " ", "") + "Request(" +
         replaced(fields, "%URL%", "callbackURL: myshop://done?a=1&b=2") + ")]";
}

/// Expects what an operation has shown, logged and opened, in this order.
void expectLaunch(TestHost& host, std::string_view kind, const std::string& fields, const std::string& path) {
  const std::string words(kindNamed(kind).words);
  const std::string link =
      "tilvanego://payment/v1/" + replaced(path, "%URL%", "return_url=myshop://done?a%3D1%26b%3D2");
  EXPECT_EQ(host.takeEvents(),
            (std::vector<std::string>{
                description(kind, fields), "debug " + replaced(inTitleCase(words), " ", "") + "URL: " + link,
                "log info Opening Tilvane payment app for " + words + ".", "open " + link}));
}

TEST(Launch, ShowsTheFieldsOfEachRequest) {
  const std::map<std::string_view, std::string_view> shown{
      {"initialization",
       "requestId: A-1, %URL%, sourceApplication: shop, basicToken: true, accountId: acc, environment: PROD, "
       "basePath: /p"},
      {"transactionList", "requestId: A-1, %URL%"},
      {"fullRefund", "requestId: A-1, transactionId: T, %URL%, credentials: true"},
      {"partialRefund", "requestId: A-1, transactionId: T, amount: 1, %URL%, credentials: true"},
      {"capture", "requestId: A-1, transactionId: T, amount: 1, %URL%"},
      {"clearData", "requestId: A-1, %URL%, amount: 1, timeout: 30"},
      {"reboot", "requestId: A-1, %URL%"},
      {"save", "requestId: A-1, currency: EUR, %URL%, customId: c, notes: present, credentials: true"}};
  for (const auto& [kind, fields] : shown) {
    TestHost host;
    kindNamed(kind).start(host, callback);
    EXPECT_EQ(host.takeEvents().front(), description(kind, std::string(fields)));
  }
}

TEST(Launch, TrimsIdsAndAmountsAndLeavesOutWhatIsNotThere) {
  TestHost host;
  host.sdk->initialize(
      InitializationRequest({.requestId = " A ", .callbackURL = callback, .sourceApplication = ""}), nullptr);
  expectLaunch(host, "initialization",
               "requestId:  A , %URL%, sourceApplication: , basicToken: false, accountId: nil, environment: "
               "nil, basePath: nil",
               "initialize?requestId=%20A%20&%URL%&sourceApplication=&transport=urlScheme");
  host.sdk->getTransactionList(TransactionListRequest({.requestId = " \n", .callbackURL = callback}),
                               nullptr);
  expectLaunch(host, "transactionList", "requestId: nil, %URL%", "getTransactionList?%URL%");
  host.sdk->capture(
      CaptureRequest(
          {.requestId = "A ", .transactionId = " T", .amount = " 12.50 ", .callbackURL = callback}),
      nullptr);
  expectLaunch(host, "capture", "requestId: A, transactionId: T, amount: 12.50, %URL%",
               "capture?request_id=A&transaction_id=T&amount=12.50&%URL%");
  host.sdk->clearData(ClearDataRequest({.requestId = " A", .callbackURL = callback}), nullptr);
  expectLaunch(host, "clearData", "requestId: A, %URL%, amount: nil, timeout: nil",
               "clear_data?request_id=A&%URL%");
  host.sdk->save(
      SaveRequest({.requestId = " A", .callbackURL = callback, .currency = " usd ", .customId = ""}),
      nullptr);
  expectLaunch(host, "save", "requestId: A, currency: USD, %URL%, customId: , notes: nil, credentials: false",
               "save?request_id=A&%URL%&currency=USD&custom_id=");
  EXPECT_EQ(RebootRequest({.requestId = " A ", .callbackURL = callback}).requestId(), "A");
  const auto given = credentials();
  const FullRefundRequest full(
      {.requestId = " A ", .transactionId = "\tT+1", .callbackURL = callback, .credentials = given});
  const PartialRefundRequest partial({.requestId = " A ",
                                      .transactionId = "T+1 ",
                                      .amount = 1,
                                      .callbackURL = callback,
                                      .credentials = given});
  EXPECT_EQ(full.requestId() + full.transactionId(), "AT+1");
  EXPECT_EQ(partial.requestId() + partial.transactionId(), "AT+1");
}

}  // namespace
}  // namespace tilvanego::test
