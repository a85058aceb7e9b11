#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <tests/support/TestHost.h>
#include <tilvanego/sandbox/LaunchLink.h>

namespace tilvanego::sandbox {
namespace {

std::string errorOf(const std::string& text) {
  const auto url = URL::parse(text);
  if (!url) return "no URL";
  const auto link = LaunchLink::read(*url);
  return link ? "" : link.error().message;
}

TEST(LaunchLink, HoldsEverythingThatThePaymentAskedFor) {
  test::TestHost host;
  host.sdk->startPayment(
      PaymentRequest({.requestId = " A&1 ",
                      .amount = *Decimal::parse("12.50"),
                      .tip = Decimal(1),
                      .currency = "EUR",
                      .callbackURL = *URL::parse("shop://done?till=1&x=%26#top"),
                      .customId = "",
                      .notes = "100% \u00e9\u001b[2J\u009b2J",
                      .credentials = PaymentCredentials(
                          {.basicToken = "tok+en/=", .accountId = "acc", .environment = "prod"})}),
      [](const PaymentResult&) {});
  const auto link = LaunchLink::read(host.application->openedURLs().at(0));
  ASSERT_TRUE(link) << link.error().message;
  EXPECT_EQ(link->operation(), Operation::payment);
  EXPECT_EQ(link->transport(), Transport::url);
  EXPECT_EQ(link->requestId(), " A&1 ");
  EXPECT_EQ(link->amount(), Decimal::parse("12.5"));
  EXPECT_EQ(link->callbackURL().absoluteString(), "shop://done?till=1&x=%26#top");
  EXPECT_EQ(link->item("basic_token"), "tok+en/=");
  EXPECT_EQ(link->item("custom_id"), "");
  EXPECT_EQ(link->item("CUSTOM_ID"), std::nullopt);
  const std::vector<std::string> shown{"payment",
                                       "request_id:  A&1 ",
                                       "amount: 12.5",
                                       "type: sale",
                                       "currency: EUR",
                                       "return_url: shop://done?till=1&x=%26#top",
                                       "tip: 1",
                                       "custom_id: ",
                                       "notes: 100% \u00e9\\u{1B}[2J\\u{9B}2J",
                                       "basic_token: hidden",
                                       "account_id: acc",
                                       "environment: PROD",
                                       "require_reader_ready: true"};
  EXPECT_EQ(link->lines(), shown);
}

TEST(LaunchLink, NamesTheOperationByItsPath) {
  struct Case {
    Operation operation;
    std::string_view link;
  };
  const std::array cases{
      Case{Operation::payment,
           "start?request_id=1&amount=1&type=sale&currency=EUR&return_url=a:b&require_reader_ready=true"},
      Case{Operation::initialization,
           "initialize?requestId=1&return_url=a:b&sourceApplication=&transport=urlScheme"},
      Case{Operation::transactionList, "getTransactionList?return_url=a:b"},
      Case{Operation::fullRefund,
           "full_refund?request_id=1&transaction_id=2&return_url=a:b&basic_token=t&account_id=a&environment="
           "CERT"},
      Case{Operation::partialRefund,
           "refund?request_id=1&transaction_id=2&amount=1&return_url=a:b&basic_token=t&account_id=a&"
           "environment=CERT"},
      Case{Operation::capture, "capture?request_id=1&transaction_id=2&amount=12.50&return_url=a:b"},
      Case{Operation::clearData, "clear_data?request_id=1&return_url=a:b"},
      Case{Operation::reboot, "reboot?request_id=1&return_url=a:b"},
      Case{Operation::save, "save?request_id=1&return_url=a:b&currency=EUR"},
  };
  static_assert(cases.size() == allCases<Operation>().size());
  for (const auto& [operation, text] : cases) {
    const auto link = LaunchLink::read(*URL::parse("TilvaneGo://PAYMENT/v1/" + std::string(text)));
    ASSERT_TRUE(link) << text << ": " << link.error().message;
    EXPECT_EQ(link->operation(), operation);
    EXPECT_EQ(link->requestId().has_value(), operation != Operation::transactionList) << text;
    // Without its first item each link but the shortest lacks something that it must say.
    const std::size_t query = text.find('?') + 1;
    const std::size_t second = text.find('&');
    const std::string shorter = std::string(text.substr(0, query)) +
                                std::string(second == std::string_view::npos ? "" : text.substr(second + 1));
    EXPECT_TRUE(errorOf("tilvanego://payment/v1/" + shorter).starts_with("the link has no ")) << shorter;
  }
}

TEST(LaunchLink, SaysWhyALinkCantBeRead) {
  const std::string reboot = "tilvanego://payment/v1/reboot";
  const std::string start = "tilvanego://payment/v1/start?return_url=a:b&request_id=1&type=sale&currency=EUR";
  const std::array<std::array<std::string, 2>, 21> cases{{
      {"other://payment/v1/reboot", R"(the link's scheme is "other", not "tilvanego")"},
      {"payment/v1/reboot", R"(the link's scheme is "", not "tilvanego")"},
      {"tilvanego:/v1/reboot", R"(the link's host is "", not "payment")"},
      {"tilvanego://pay%07/v1/reboot", R"(the link's host is "pay\u{07}", not "payment")"},
      {"tilvanego://payment", R"(the link's path is "", which names no operation)"},
      {"tilvanego://payment/v1/reboot/", R"(the link's path is "/v1/reboot/", which names no operation)"},
      {"tilvanego://payment/v1/Reboot", R"(the link's path is "/v1/Reboot", which names no operation)"},
      {"tilvanego://payment/%1b%5D0;x", R"(the link's path is "/\u{1B}]0;x", which names no operation)"},
      {reboot, "the link has no request_id"},
      {reboot + "?request_id=1", "the link has no return_url"},
      {reboot + "?request_id=1&RETURN_URL=a:b", "the link has no return_url"},
      {reboot + "?request_id=1&return_url=", R"(the link's return_url is "", which is no URL: )"},
      {reboot + "?request_id=1&return_url=done", R"(the link's return_url is "done", which has no scheme)"},
      {reboot + "?request_id=%20%0A&return_url=a:b", "the link's request id is blank"},
      {reboot + "?request_id&return_url=a:b", R"(the link's item "request_id" has no value)"},
      {reboot + "?request_id=%FF&return_url=a:b",
       R"(the link's item "request_id" has a value that is no percent-encoded UTF-8)"},
      {reboot + "?request_id=1&return_url=a:b&request%5Fid=2", R"(the link has "request_id" twice)"},
      {start + "&require_reader_ready=true", "the link has no amount"},
      {start + "&require_reader_ready=true&amount=ten", R"(the link's amount is "ten", which is no number)"},
      {"tilvanego://payment/v1/start?transport=fax", R"(the link's transport is "fax", which is none)"},
      {"tilvanego://payment/v1/start?transport=url", R"(the link's transport is "url", which is none)"},
  }};
  for (const auto& [text, message] : cases) {
    const std::string error = errorOf(text);
    EXPECT_TRUE(message.ends_with(": ") ? error.starts_with(message) && error != message : error == message)
        << text << "\n gives: " << error;
  }
}

TEST(LaunchLink, HasALimitToItsLengthAndItems) {
  const std::string link = "tilvanego://payment/v1/reboot?request_id=1&return_url=a:b&x=";
  const std::string longest = link + std::string(LaunchLink::maxLength - link.size(), 'x');
  EXPECT_EQ(errorOf(longest), "");
  EXPECT_EQ(errorOf(longest + "x"), "the link is longer than 1048576 bytes");
  std::string many = link;
  for (int i = 3; i < 64; ++i) many += "&" + std::to_string(i) + "=";
  EXPECT_EQ(errorOf(many), "");
  EXPECT_EQ(errorOf(many + "&64="), "the link has more than 64 items");
}

}  // namespace
}  // namespace tilvanego::sandbox
