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

/// Starts an operation, and expects what it shows, logs and opens, in this order. `words` are those of its
/// kind, such as "Clear Data". In the request's fields and the link's query, "%URL%" stands for the callback
/// URL, and
/// "%TOKEN%" for the token.
template <typename Request, typename Completion>
void expectLaunch(void (TilvaneGo::*start)(Request, Completion), const typename Request::Fields& fields,
                  const std::string& words, const std::string& shown, const std::string& path,
                  const std::string& query) {
  TestHost host;
  (*host.sdk.*start)(Request(fields), nullptr);
  const std::string name = replaced(words, " ", "");
  const std::string link = "tilvanego://payment/v1/" + path + "?" +
                           replaced(query, "%URL%", "return_url=myshop://done?a%3D1%26b%3D2");
  std::string lower = words;
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  EXPECT_EQ(host.takeEvents(), (std::vector<std::string>{
                                   "debug Sending " + words + " Request - [" + name + "Request(" +
                                       replaced(shown, "%URL%", "callbackURL: myshop://done?a=1&b=2") + ")]",
                                   "debug " + name + "URL: " + replaced(link, "%TOKEN%", "%3Credacted%3E"),
                                   "log info Opening Tilvane payment app for " + lower + ".",
                                   "open " + replaced(link, "%TOKEN%", secretToken)}));
}

TEST(Launch, OfAnInitializationSendsWhatIsThere) {
  expectLaunch(
      &TilvaneGo::initialize, {.requestId = " A ", .callbackURL = callback, .sourceApplication = ""},
      "Initialization",
      "requestId:  A , %URL%, sourceApplication: , basicToken: false, accountId: nil, environment: nil, "
      "basePath: nil",
      "initialize", "requestId=%20A%20&%URL%&sourceApplication=&transport=urlScheme");
  expectLaunch(
      &TilvaneGo::initialize,
      {.requestId = "A",
       .callbackURL = callback,
       .sourceApplication = "My shop",
       .basicToken = std::string(secretToken),
       .accountId = " acc",
       .environment = " prod\n",
       .basePath = ""},
      "Initialization",
      "requestId: A, %URL%, sourceApplication: My shop, basicToken: true, accountId:  acc, environment: "
      "PROD, basePath: ",
      "initialize",
      "requestId=A&%URL%&sourceApplication=My%20shop&transport=urlScheme&basicToken=%TOKEN%"
      "&accountId=%20acc&environment=PROD&basePath=");
}

TEST(Launch, OfATransactionListTrimsItsIdOrLeavesItOut) {
  expectLaunch(&TilvaneGo::getTransactionList, {.requestId = " \n", .callbackURL = callback},
               "Transaction List", "requestId: nil, %URL%", "getTransactionList", "%URL%");
  expectLaunch(&TilvaneGo::getTransactionList, {.requestId = " A ", .callbackURL = callback},
               "Transaction List", "requestId: A, %URL%", "getTransactionList", "%URL%&request_id=A");
}

TEST(Launch, OfARefundSendsItsCredentials) {
  expectLaunch(
      &TilvaneGo::fullRefund,
      {.requestId = " A ", .transactionId = "\tT+1", .callbackURL = callback, .credentials = credentials()},
      "Full Refund", "requestId: A, transactionId: T+1, %URL%, credentials: true", "full_refund",
      "request_id=A&transaction_id=T+1&%URL%&basic_token=%TOKEN%&account_id=acc&environment=PROD");
  expectLaunch(
      &TilvaneGo::partialRefund,
      {.requestId = " A ",
       .transactionId = "T ",
       .amount = Decimal::parse("0.10").value(),
       .callbackURL = callback,
       .credentials = credentials()},
      "Partial Refund", "requestId: A, transactionId: T, amount: 0.1, %URL%, credentials: true", "refund",
      "request_id=A&transaction_id=T&amount=0.1&%URL%&basic_token=%TOKEN%&account_id=acc&environment=PROD");
}

TEST(Launch, OfACaptureKeepsTheAmountsText) {
  expectLaunch(&TilvaneGo::capture,
               {.requestId = "A ", .transactionId = " T", .amount = " 12.50 ", .callbackURL = callback},
               "Capture", "requestId: A, transactionId: T, amount: 12.50, %URL%", "capture",
               "request_id=A&transaction_id=T&amount=12.50&%URL%");
}

TEST(Launch, OfAClearDataSendsTheOptionsThatAreThere) {
  expectLaunch(&TilvaneGo::clearData, {.requestId = " A", .callbackURL = callback}, "Clear Data",
               "requestId: A, %URL%, amount: nil, timeout: nil", "clear_data", "request_id=A&%URL%");
  expectLaunch(&TilvaneGo::clearData,
               {.requestId = "A",
                .callbackURL = callback,
                .amount = Decimal::parse("100.00").value(),
                .timeout = 9'223'372'036'854'775'807},
               "Clear Data", "requestId: A, %URL%, amount: 100, timeout: 9223372036854775807", "clear_data",
               "request_id=A&%URL%&amount=100&timeout=9223372036854775807");
}

TEST(Launch, OfARebootHasNoOptions) {
  expectLaunch(&TilvaneGo::reboot, {.requestId = " A ", .callbackURL = callback}, "Reboot",
               "requestId: A, %URL%", "reboot", "request_id=A&%URL%");
}

TEST(Launch, OfASaveSendsEmptyOptionsToo) {
  expectLaunch(&TilvaneGo::save, {.requestId = " A", .callbackURL = callback, .currency = " usd "}, "Save",
               "requestId: A, currency: USD, %URL%, customId: nil, notes: nil, credentials: false", "save",
               "request_id=A&%URL%&currency=USD");
  expectLaunch(&TilvaneGo::save,
               {.requestId = "A",
                .callbackURL = callback,
                .currency = "EUR",
                .customId = "",
                .notes = "",
                .credentials = credentials()},
               "Save", "requestId: A, currency: EUR, %URL%, customId: , notes: present, credentials: true",
               "save",
               "request_id=A&%URL%&currency=EUR&custom_id=&notes=&basic_token=%TOKEN%&account_id=acc"
               "&environment=PROD");
}

}  // namespace
}  // namespace tilvanego::test
