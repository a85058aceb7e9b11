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

/// Expects what an operation has shown, logged and opened, in this order. `shown` are the fields of its
/// request; in the link, "%URL%" stands for the callback URL and "%TOKEN%" for the token.
void expectLaunch(TestHost& host, std::string_view kind, const std::string& shown, const std::string& path) {
  const std::string lower(kindNamed(kind).words);
  const std::string words = inTitleCase(lower);
  const std::string name = replaced(words, " ", "");
  const std::string link =
      "tilvanego://payment/v1/" + replaced(path, "%URL%", "return_url=myshop://done?a%3D1%26b%3D2");
  EXPECT_EQ(host.takeEvents(), (std::vector<std::string>{
                                   "debug Sending " + words + " Request - [" + name + "Request(" +
                                       replaced(shown, "%URL%", "callbackURL: myshop://done?a=1&b=2") + ")]",
                                   "debug " + name + "URL: " + replaced(link, "%TOKEN%", "%3Credacted%3E"),
                                   "log info Opening Tilvane payment app for " + lower + ".",
                                   "open " + replaced(link, "%TOKEN%", secretToken)}));
}

TEST(Launch, SendsEveryField) {
  struct Case {
    std::string_view kind;
    std::string_view shown;
    std::string_view path;
  };
  for (const auto& [kind, shown, path] :
       {Case{"initialization",
             "requestId: A-1, %URL%, sourceApplication: shop, basicToken: true, accountId: acc, environment: "
             "PROD, basePath: /p",
             "initialize?requestId=A-1&%URL%&sourceApplication=shop&transport=urlScheme&basicToken=%TOKEN%"
             "&accountId=acc&environment=PROD&basePath=/p"},
        Case{"transactionList", "requestId: A-1, %URL%", "getTransactionList?%URL%&request_id=A-1"},
        Case{"fullRefund", "requestId: A-1, transactionId: T, %URL%, credentials: true",
             "full_refund?request_id=A-1&transaction_id=T&%URL%&basic_token=%TOKEN%&account_id=acc"
             "&environment=PROD"},
        Case{"partialRefund", "requestId: A-1, transactionId: T, amount: 1, %URL%, credentials: true",
             "refund?request_id=A-1&transaction_id=T&amount=1&%URL%&basic_token=%TOKEN%&account_id=acc"
             "&environment=PROD"},
        Case{"capture", "requestId: A-1, transactionId: T, amount: 1, %URL%",
             "capture?request_id=A-1&transaction_id=T&amount=1&%URL%"},
        Case{"clearData", "requestId: A-1, %URL%, amount: 1, timeout: 30",
             "clear_data?request_id=A-1&%URL%&amount=1&timeout=30"},
        Case{"reboot", "requestId: A-1, %URL%", "reboot?request_id=A-1&%URL%"},
        Case{"save", "requestId: A-1, currency: EUR, %URL%, customId: c, notes: present, credentials: true",
             "save?request_id=A-1&%URL%&currency=EUR&custom_id=c&notes=n0tes&basic_token=%TOKEN%"
             "&account_id=acc&environment=PROD"}}) {
    TestHost host;
    kindNamed(kind).start(host, callback);
    expectLaunch(host, kind, std::string(shown), std::string(path));
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
