#include <thread>

#include "tests/support/Kinds.h"
#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

using Events = std::vector<std::string>;

PaymentRequest::Fields validFields() {
  return {.requestId = "A-1",
          .amount = Decimal::parse("12.50").value(),
          .currency = "eur",
          .callbackURL = URL::parse("myshop://done?a=1&b=2").value()};
}

PaymentRequest::Fields fullFields() {
  auto fields = validFields();
  fields.tip = Decimal::parse("0.10");
  fields.customId = "";
  fields.notes = "a+b c&d";
  fields.credentials =
      PaymentCredentials({.basicToken = "s3cret", .accountId = "acc", .environment = "prod"});
  fields.requiresReaderReady = false;
  return fields;
}

constexpr auto plainDescription =
    "debug Sending Request - [PaymentRequest(requestId: A-1, amount: 12.5, tip: nil, transactionType: sale, "
    "currency: EUR, callbackURL: myshop://done?a=1&b=2, customId: nil, notes: nil, credentials: false, "
    "requiresReaderReady: true)]";
constexpr auto transportLine = "debug Sending Transport - [urlScheme]";

TEST(StartPayment, ShowsBuildsLogsAndOpensInThisOrder) {
  TestHost host;
  host.sdk->startPayment(PaymentRequest(validFields()), noting(host, "completion"));
  const std::string link =
      "tilvanego://payment/v1/start?request_id=A-1&amount=12.5&type=sale&currency=EUR&return_url=myshop://"
      "done?a%3D1%26b%3D2&require_reader_ready=true";
  EXPECT_EQ(host.takeEvents(), (Events{plainDescription, transportLine, "debug InlinePaymentUrl: " + link,
                                       "log info Opening Tilvane payment app.", "open " + link}));
  EXPECT_TRUE(host.sdk->isPaymentInProgress());
}

TEST(StartPayment, SendsTwelveItemsAndShowsNoSecret) {
  TestHost host;
  host.sdk->startPayment(PaymentRequest(fullFields()), noting(host, "completion"));
  const std::string opening =
      "tilvanego://payment/v1/start?request_id=A-1&amount=12.5&type=sale&currency=EUR&return_url="
      "myshop://done?a%3D1%26b%3D2&tip=0.1&custom_id=&notes=a+b%20c%26d&basic_token=";
  const std::string ending = "&account_id=acc&environment=PROD&require_reader_ready=false";
  const Events events = host.takeEvents();
  ASSERT_EQ(events.size(), 5U);
  EXPECT_EQ(
      events[0],
      "debug Sending Request - [PaymentRequest(requestId: A-1, amount: 12.5, tip: 0.1, transactionType: "
      "sale, currency: EUR, callbackURL: myshop://done?a=1&b=2, customId: , notes: present, credentials: "
      "true, "
      "requiresReaderReady: false)]");
  EXPECT_EQ(events[2], "debug InlinePaymentUrl: " + opening + "%3Credacted%3E" + ending);
  EXPECT_EQ(events[4], "open " + opening + "s3cret" + ending);
}

struct Refusal {
  std::string_view rule;
  void (*spoil)(PaymentRequest::Fields&);
  std::string_view message;
};

void PrintTo(const Refusal& refusal, std::ostream* out) { *out << refusal.rule; }

class RefusedPayment : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedPayment, SaysTheFirstThingToMendAndLeavesNothingBehind) {
  TestHost host;
  auto fields = fullFields();
  GetParam().spoil(fields);
  host.sdk->startPayment(PaymentRequest(fields), noting(host, "completion"));
  const Events events = host.takeEvents();
  ASSERT_EQ(events.size(), 3U);
  EXPECT_EQ(events[2], "completion failure(invalidRequest: " + std::string(GetParam().message) + ")");
  EXPECT_FALSE(host.sdk->isPaymentInProgress());
}

using Fields = PaymentRequest::Fields;
constexpr std::string_view amountMessage = "Amount must be greater than zero.";
constexpr std::string_view currencyMessage = "Currency must be a three-letter ISO 4217 code.";

void spoilCredentials(Fields& fields, std::string token, std::string account, std::string environment) {
  fields.credentials = PaymentCredentials({.basicToken = std::move(token),
                                           .accountId = std::move(account),
                                           .environment = std::move(environment)});
}

INSTANTIATE_TEST_SUITE_P(
    Rules, RefusedPayment,
    testing::Values(
        Refusal{"id before amount",
                [](Fields& f) {
                  f.requestId = " \n";
                  f.amount = 0;
                },
                "Request ID is required."},
        Refusal{"amount before tip",
                [](Fields& f) {
                  f.amount = 0;
                  f.tip = -1;
                },
                amountMessage},
        Refusal{"negative amount", [](Fields& f) { f.amount = *Decimal::parse("-0.01"); }, amountMessage},
        Refusal{"type save", [](Fields& f) { f.transactionType = PaymentTransactionType::save; },
                amountMessage},
        Refusal{"tip before currency",
                [](Fields& f) {
                  f.tip = *Decimal::parse("-0.01");
                  f.currency = "E";
                },
                "Tip must be greater than or equal to zero."},
        Refusal{"short currency", [](Fields& f) { f.currency = "EU"; }, currencyMessage},
        Refusal{"long currency", [](Fields& f) { f.currency = "EURO"; }, currencyMessage},
        Refusal{"no letters", [](Fields& f) { f.currency = "E1R"; }, currencyMessage},
        Refusal{"letters that grow", [](Fields& f) { f.currency = "eu\u00df"; }, currencyMessage},
        Refusal{"currency before URL",
                [](Fields& f) {
                  f.currency = "";
                  f.callbackURL = *URL::parse("a/b");
                },
                currencyMessage},
        Refusal{"no scheme", [](Fields& f) { f.callbackURL = *URL::parse("done/here"); },
                "Callback URL must include a URL scheme."},
        Refusal{"URL before token",
                [](Fields& f) {
                  f.callbackURL = *URL::parse("//done");
                  spoilCredentials(f, "", "", "");
                },
                "Callback URL must include a URL scheme."},
        Refusal{"token before account", [](Fields& f) { spoilCredentials(f, "\t", "", "x"); },
                "Credential basic token is required when credentials are provided."},
        Refusal{"account before environment", [](Fields& f) { spoilCredentials(f, "t", "\u00a0", "x"); },
                "Credential account ID is required when credentials are provided."},
        Refusal{"unknown environment", [](Fields& f) { spoilCredentials(f, "t", "a", "PRODUCTION"); },
                "Credential environment must be STAGING, CERT, or PROD."}));

TEST(StartPayment, AcceptsAZeroTipAndBlanksAroundTheId) {
  TestHost host;
  auto fields = validFields();
  fields.requestId = " A 1 ";
  fields.tip = 0;
  host.sdk->startPayment(PaymentRequest(fields), noting(host, "completion"));
  ASSERT_EQ(host.application->openedURLs().size(), 1U);
  const std::string& link = host.application->openedURLs()[0].absoluteString();
  EXPECT_TRUE(link.starts_with("tilvanego://payment/v1/start?request_id=%20A%201%20&")) << link;
  EXPECT_NE(link.find("&tip=0&"), std::string::npos) << link;
}

TEST(StartPayment, ThatIsOpenedWaitsForItsCallback) {
  TestHost host;
  host.sdk->startPayment(PaymentRequest(validFields()), noting(host, "completion"));
  ASSERT_TRUE(host.application->reportOldest(true));
  host.loop.runPending();
  EXPECT_TRUE(host.sdk->isPaymentInProgress());
}

TEST(StartPayment, ThatIsFinishedBeforeTheRefusedOpenIsToldIgnoresIt) {
  TestHost host;
  host.sdk->startPayment(PaymentRequest(validFields()), noting(host, "completion"));
  host.application->reportOldest(false);
  EXPECT_TRUE(host.sdk->handleCallback(parsedURL("myshop://done?status=cancel")));
  host.takeEvents();
  host.loop.runPending();
  EXPECT_EQ(host.takeEvents(), Events{});
}

TEST(StartPayment, WithoutACompletionIsAPaymentAllTheSame) {
  TestHost host;
  host.sdk->startPayment(PaymentRequest(validFields()), nullptr);
  host.sdk->startPayment(PaymentRequest(validFields()), nullptr);
  EXPECT_TRUE(host.sdk->handleCallback(parsedURL("myshop://done?status=approved")));
}

TEST(StartPayment, AndHandleCallbackMayBeCalledFromItsOwnCompletion) {
  TestHost host;
  host.sdk->startPayment(PaymentRequest(validFields()), [&](const PaymentResult&) {
    EXPECT_FALSE(host.sdk->handleCallback(parsedURL("myshop://done")));
    host.sdk->startPayment(PaymentRequest(validFields()), nullptr);
  });
  EXPECT_TRUE(host.sdk->handleCallback(parsedURL("myshop://done")));
  EXPECT_TRUE(host.sdk->isPaymentInProgress());
  EXPECT_EQ(host.application->openedURLs().size(), 2U);
}

TEST(Logger, MayReplaceItselfFromWithinACall) {
  TestHost host;
  std::vector<int> calls;
  host.sdk->setLogger([&](TilvaneLogLevel, std::string_view) {
    calls.push_back(1);
    host.sdk->setLogger([&](TilvaneLogLevel, std::string_view) { calls.push_back(2); });
    calls.push_back(1);
  });
  for (int times = 0; times < 2; ++times) {
    EXPECT_FALSE(host.sdk->handleCallback(parsedURL("myshop://done")));
  }
  EXPECT_EQ(calls, (std::vector{1, 1, 2}));
  host.sdk->setLogger(nullptr);
  EXPECT_FALSE(host.sdk->logger());
  EXPECT_FALSE(host.sdk->handleCallback(parsedURL("myshop://done")));
}

TEST(StartPaymentDeathTest, FromAnotherThreadEndsTheProcessWithAMessage) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        TestHost host;
        host.loop.runPending();
        std::thread([&] { host.sdk->startPayment(PaymentRequest(validFields()), nullptr); }).join();
      },
      "startPayment");
}

TEST(Shared, IsOneInstance) { EXPECT_EQ(&TilvaneGo::shared(), &TilvaneGo::shared()); }

TEST(SharedDeathTest, TakesNoPlatformOnceItIsInUse) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        EXPECT_FALSE(TilvaneGo::shared().isPaymentInProgress());
        TilvaneGo::usePlatform(Platform::standard());
      },
      "before the first use");
}

}  // namespace
}  // namespace tilvanego::test
