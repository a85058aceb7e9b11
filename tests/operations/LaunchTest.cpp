#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

const URL callback = parsedURL("myshop://done?a=1&b=2");

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// The first line that an operation shows. `words` are those of its kind, such as "Clear Data"; `fields` are
/// those of its request, where "%URL%" stands for the callback URL.
std::string description(const std::string& words, const std::string& fields) {
  return "debug Sending " + words + " Request - [" + replaced(words, " ", "") + "Request(" +
         replaced(fields, "%URL%", "callbackURL: myshop://done?a=1&b=2") + ")]";
}

/// Expects what an operation has shown, logged and opened, in this order.
void expectLaunch(TestHost& host, std::string_view kind, const std::string& words, const std::string& fields,
                  const std::string& path) {
  const std::string link =
      "tilvanego://payment/v1/" + replaced(path, "%URL%", "return_url=myshop://done?a%3D1%26b%3D2");
  EXPECT_EQ(host.takeEvents(),
            (std::vector<std::string>{
                description(words, fields), "debug " + replaced(words, " ", "") + "URL: " + link,
                "log info Opening Tilvane payment app for " + std::string(kindNamed(kind).words) + ".",
                "open " + link}));
}

TEST(Launch, TrimsIdsAndAmountsAndLeavesOutWhatIsNotThere) {
  TestHost host;
  host.sdk->initialize(
      InitializationRequest({.requestId = " A ", .callbackURL = callback, .sourceApplication = ""}), nullptr);
  expectLaunch(host, "initialization", "Initialization",
               "requestId:  A , %URL%, sourceApplication: , basicToken: false, accountId: nil, environment: "
               "nil, basePath: nil",
               "initialize?requestId=%20A%20&%URL%&sourceApplication=&transport=urlScheme");
  host.sdk->getTransactionList(TransactionListRequest({.requestId = " \n", .callbackURL = callback}),
                               nullptr);
  expectLaunch(host, "transactionList", "Transaction List", "requestId: nil, %URL%",
               "getTransactionList?%URL%");
  host.sdk->capture(
      CaptureRequest(
          {.requestId = "A ", .transactionId = " T", .amount = " 12.50 ", .callbackURL = callback}),
      nullptr);
  expectLaunch(host, "capture", "Capture", "requestId: A, transactionId: T, amount: 12.50, %URL%",
               "capture?request_id=A&transaction_id=T&amount=12.50&%URL%");
  host.sdk->clearData(ClearDataRequest({.requestId = " A", .callbackURL = callback}), nullptr);
  expectLaunch(host, "clearData", "Clear Data", "requestId: A, %URL%, amount: nil, timeout: nil",
               "clear_data?request_id=A&%URL%");
  host.sdk->save(
      SaveRequest({.requestId = " A", .callbackURL = callback, .currency = " usd ", .customId = ""}),
      nullptr);
  expectLaunch(host, "save", "Save",
               "requestId: A, currency: USD, %URL%, customId: , notes: nil, credentials: false",
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
