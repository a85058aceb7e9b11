#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

using Host = TestHost;
const URL callback = parsedURL("myshop://done?a=1&b=2");

/// A started operation and what it causes. "%TOKEN%" in `link` stands for the token's value.
struct Launch {
  std::string_view rule;
  void (*start)(Host& host);
  std::string_view sending;
  std::string_view label;
  std::string_view opening;
  std::string_view link;
};

void PrintTo(const Launch& launch, std::ostream* out) { *out << launch.rule; }

std::string withToken(std::string_view link, std::string_view token) {
  std::string text(link);
  if (const auto at = text.find("%TOKEN%"); at != std::string::npos) text.replace(at, 7, token);
  return text;
}

class Launched : public testing::TestWithParam<Launch> {};

TEST_P(Launched, ShowsBuildsLogsAndOpensInThisOrder) {
  Host host;
  const auto& [rule, start, sending, label, opening, link] = GetParam();
  start(host);
  EXPECT_EQ(host.takeEvents(), (std::vector<std::string>{
                                   "debug Sending " + std::string(sending) + ")]",
                                   "debug " + std::string(label) + ": " + withToken(link, "%3Credacted%3E"),
                                   "log info Opening Tilvane payment app for " + std::string(opening) + ".",
                                   "open " + withToken(link, "t0ken")}));
}

INSTANTIATE_TEST_SUITE_P(
    Initialization, Launched,
    testing::Values(
        Launch{"required fields alone",
               [](Host& host) {
                 host.sdk->initialize(
                     InitializationRequest(
                         {.requestId = " A ", .callbackURL = callback, .sourceApplication = ""}),
                     nullptr);
               },
               "Initialization Request - [InitializationRequest(requestId:  A , callbackURL: "
               "myshop://done?a=1&b=2, sourceApplication: , basicToken: false, accountId: nil, environment: "
               "nil, "
               "basePath: nil",
               "InitializationURL", "initialization",
               "tilvanego://payment/v1/initialize?requestId=%20A%20&return_url=myshop://done?a%3D1%26b%3D2"
               "&sourceApplication=&transport=urlScheme"},
        Launch{"all fields",
               [](Host& host) {
                 host.sdk->initialize(InitializationRequest({.requestId = "A",
                                                             .callbackURL = callback,
                                                             .sourceApplication = "My shop",
                                                             .basicToken = "t0ken",
                                                             .accountId = " acc",
                                                             .environment = " prod\n",
                                                             .basePath = ""}),
                                      nullptr);
               },
               "Initialization Request - [InitializationRequest(requestId: A, callbackURL: "
               "myshop://done?a=1&b=2, "
               "sourceApplication: My shop, basicToken: true, accountId:  acc, environment: PROD, basePath: ",
               "InitializationURL", "initialization",
               "tilvanego://payment/v1/initialize?requestId=A&return_url=myshop://done?a%3D1%26b%3D2"
               "&sourceApplication=My%20shop&transport=urlScheme&basicToken=%TOKEN%&accountId=%20acc"
               "&environment=PROD&basePath="}));

INSTANTIATE_TEST_SUITE_P(
    TransactionList, Launched,
    testing::Values(
        Launch{"blank id",
               [](Host& host) {
                 host.sdk->getTransactionList(
                     TransactionListRequest({.requestId = " \n", .callbackURL = callback}), nullptr);
               },
               "Transaction List Request - [TransactionListRequest(requestId: nil, callbackURL: "
               "myshop://done?a=1&b=2",
               "TransactionListURL", "transaction list",
               "tilvanego://payment/v1/getTransactionList?return_url=myshop://done?a%3D1%26b%3D2"},
        Launch{"trimmed id",
               [](Host& host) {
                 host.sdk->getTransactionList(
                     TransactionListRequest({.requestId = " A ", .callbackURL = callback}), nullptr);
               },
               "Transaction List Request - [TransactionListRequest(requestId: A, callbackURL: "
               "myshop://done?a=1&b=2",
               "TransactionListURL", "transaction list",
               "tilvanego://payment/v1/getTransactionList?return_url=myshop://"
               "done?a%3D1%26b%3D2&request_id=A"}));

INSTANTIATE_TEST_SUITE_P(
    Refunds, Launched,
    testing::Values(
        Launch{"full",
               [](Host& host) {
                 host.sdk->fullRefund(FullRefundRequest({.requestId = " A ",
                                                         .transactionId = "\tT+1",
                                                         .callbackURL = callback,
                                                         .credentials = credentials()}),
                                      nullptr);
               },
               "Full Refund Request - [FullRefundRequest(requestId: A, transactionId: T+1, callbackURL: "
               "myshop://done?a=1&b=2, credentials: true",
               "FullRefundURL", "full refund",
               "tilvanego://payment/v1/full_refund?request_id=A&transaction_id=T+1&return_url="
               "myshop://done?a%3D1%26b%3D2&basic_token=%TOKEN%&account_id=acc&environment=PROD"},
        Launch{"partial",
               [](Host& host) {
                 host.sdk->partialRefund(PartialRefundRequest({.requestId = " A ",
                                                               .transactionId = "T ",
                                                               .amount = Decimal::parse("0.10").value(),
                                                               .callbackURL = callback,
                                                               .credentials = credentials()}),
                                         nullptr);
               },
               "Partial Refund Request - [PartialRefundRequest(requestId: A, transactionId: T, amount: 0.1, "
               "callbackURL: myshop://done?a=1&b=2, credentials: true",
               "PartialRefundURL", "partial refund",
               "tilvanego://payment/v1/refund?request_id=A&transaction_id=T&amount=0.1&return_url="
               "myshop://done?a%3D1%26b%3D2&basic_token=%TOKEN%&account_id=acc&environment=PROD"}));

INSTANTIATE_TEST_SUITE_P(
    CardOperations, Launched,
    testing::Values(
        Launch{
            "capture keeps the amount's text",
            [](Host& host) {
              host.sdk->capture(CaptureRequest({.requestId = "A ",
                                                .transactionId = " T",
                                                .amount = " 12.50 ",
                                                .callbackURL = callback}),
                                nullptr);
            },
            "Capture Request - [CaptureRequest(requestId: A, transactionId: T, amount: 12.50, callbackURL: "
            "myshop://done?a=1&b=2",
            "CaptureURL", "capture",
            "tilvanego://payment/v1/capture?request_id=A&transaction_id=T&amount=12.50&return_url="
            "myshop://done?a%3D1%26b%3D2"},
        Launch{"clear data without options",
               [](Host& host) {
                 host.sdk->clearData(ClearDataRequest({.requestId = " A", .callbackURL = callback}), nullptr);
               },
               "Clear Data Request - [ClearDataRequest(requestId: A, callbackURL: myshop://done?a=1&b=2, "
               "amount: "
               "nil, timeout: nil",
               "ClearDataURL", "clear data",
               "tilvanego://payment/v1/clear_data?request_id=A&return_url=myshop://done?a%3D1%26b%3D2"},
        Launch{
            "clear data with options",
            [](Host& host) {
              host.sdk->clearData(ClearDataRequest({.requestId = "A",
                                                    .callbackURL = callback,
                                                    .amount = Decimal::parse("100.00").value(),
                                                    .timeout = 9'223'372'036'854'775'807}),
                                  nullptr);
            },
            "Clear Data Request - [ClearDataRequest(requestId: A, callbackURL: myshop://done?a=1&b=2, "
            "amount: "
            "100, timeout: 9223372036854775807",
            "ClearDataURL", "clear data",
            "tilvanego://payment/v1/clear_data?request_id=A&return_url=myshop://done?a%3D1%26b%3D2&amount=100"
            "&timeout=9223372036854775807"},
        Launch{"reboot",
               [](Host& host) {
                 host.sdk->reboot(RebootRequest({.requestId = " A ", .callbackURL = callback}), nullptr);
               },
               "Reboot Request - [RebootRequest(requestId: A, callbackURL: myshop://done?a=1&b=2",
               "RebootURL", "reboot",
               "tilvanego://payment/v1/reboot?request_id=A&return_url=myshop://done?a%3D1%26b%3D2"},
        Launch{
            "save without options",
            [](Host& host) {
              host.sdk->save(SaveRequest({.requestId = " A", .callbackURL = callback, .currency = " usd "}),
                             nullptr);
            },
            "Save Request - [SaveRequest(requestId: A, currency: USD, callbackURL: myshop://done?a=1&b=2, "
            "customId: nil, notes: nil, credentials: false",
            "SaveURL", "save",
            "tilvanego://payment/v1/save?request_id=A&return_url=myshop://done?a%3D1%26b%3D2&currency=USD"},
        Launch{"save with empty options and credentials",
               [](Host& host) {
                 host.sdk->save(SaveRequest({.requestId = "A",
                                             .callbackURL = callback,
                                             .currency = "EUR",
                                             .customId = "",
                                             .notes = "",
                                             .credentials = credentials()}),
                                nullptr);
               },
               "Save Request - [SaveRequest(requestId: A, currency: EUR, callbackURL: myshop://done?a=1&b=2, "
               "customId: , notes: present, credentials: true",
               "SaveURL", "save",
               "tilvanego://payment/v1/save?request_id=A&return_url=myshop://done?a%3D1%26b%3D2&currency=EUR"
               "&custom_id=&notes=&basic_token=%TOKEN%&account_id=acc&environment=PROD"}));

}  // namespace
}  // namespace tilvanego::test
