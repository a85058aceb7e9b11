#include <array>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <tilvanego/sandbox/Response.h>
#include <tilvanego/sandbox/ResponseTables.h>

#include "tests/support/TestHost.h"

namespace tilvanego::sandbox {
namespace {

LaunchLink linkOf(const std::string& operationAndItems, const std::string& returnURL = "shop://done") {
  auto link = LaunchLink::read(
      *URL::parse("tilvanego://payment/v1/" + operationAndItems + "&return_url=" + returnURL));
  EXPECT_TRUE(link) << link.error().message;
  return *std::move(link);
}

/// The payment of a host, and the result that an outcome brings it; nothing if no callback came.
std::optional<PaymentResult> paidWith(Outcome outcome) {
  test::TestHost host;
  std::optional<PaymentResult> result;
  host.sdk->startPayment(PaymentRequest({.requestId = "A-1",
                                         .amount = Decimal(10),
                                         .currency = "EUR",
                                         .callbackURL = *URL::parse("shop://done?till=1"),
                                         .customId = "c&1"}),
                         [&](const PaymentResult& payment) { result = payment; });
  const auto link = LaunchLink::read(host.application->openedURLs().at(0));
  const auto callback = respond(*link, outcome);
  EXPECT_TRUE(callback) << callback.error().message;
  if (callback && *callback) {
    EXPECT_TRUE(host.sdk->handleCallback(**callback));
  }
  return result;
}

TEST(Response, GivesTheHostTheResultOfItsOutcome) {
  struct Case {
    Outcome outcome;
    std::string_view result;
    std::string_view status;
    std::string_view error;
  };
  const std::array cases{
      Case{Outcome::approve, "success", "approved", ""},
      Case{Outcome::decline, "declined", "declined", ""},
      Case{Outcome::cancel, "cancelled", "cancelled", ""},
      Case{Outcome::fail, "failure", "failed", "paymentFailed"},
      Case{Outcome::wrongId, "failure", "approved", "requestIdMismatch"},
      Case{Outcome::noStatus, "failure", "", "missingStatus"},
      Case{Outcome::unknownStatus, "failure", "parked", "paymentFailed"},
  };
  for (const auto& [outcome, name, status, error] : cases) {
    SCOPED_TRACE(rawText(outcome));
    const auto result = paidWith(outcome);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->name(), name);
    const auto response = result->response();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->status().value_or(""), status);
    EXPECT_EQ(response->customId(), "c&1");
    EXPECT_EQ(response->requestId() == "A-1", outcome != Outcome::wrongId);
    EXPECT_EQ(response->approvalCode().has_value(),
              outcome != Outcome::decline && outcome != Outcome::cancel && outcome != Outcome::fail);
    const auto* failure = std::get_if<PaymentResult::Failure>(&*result);
    EXPECT_EQ(failure != nullptr ? failure->error.name() : "", error);
  }
  EXPECT_FALSE(paidWith(Outcome::silent));
}

TEST(Response, KeepsWhatTheHostPutIntoItsURL) {
  const LaunchLink link =
      linkOf("reboot?request_id=%26%201", "shop://u@done:8/a%25252Fb?x=%252526%2526%26flag%23top");
  EXPECT_EQ((*respond(link, Outcome::approve))->absoluteString(),
            "shop://u@done:8/a%252Fb?x=%2526%26&flag&request_id=%26%201&status=rebooted&response_code=0&"
            "reader_serial=SANDBOX-0001#top");
}

TEST(Response, IsTheSameForTheSameRequestAndAnotherForAnother) {
  const std::string payment = "start?amount=1&type=sale&currency=EUR&require_reader_ready=true&request_id=";
  EXPECT_EQ(responseItems(linkOf(payment + "1"), Outcome::approve),
            responseItems(linkOf(payment + "1"), Outcome::approve));
  const auto idOf = [&](const std::string& requestId) {
    return responseItems(linkOf(payment + requestId), Outcome::approve).at(4);
  };
  EXPECT_EQ(idOf("1").name, "transaction_id");
  EXPECT_EQ(idOf("1").value->size(), 12U);
  EXPECT_NE(idOf("1"), idOf("2"));
}

TEST(Response, RefusesWhatTheRequestCantBeAnsweredWith) {
  const LaunchLink list = linkOf("getTransactionList?x=");
  EXPECT_EQ(respond(list, Outcome::wrongId).error().message,
            "the outcome wrong-id needs a request with an id");
  EXPECT_EQ(respond(list, Outcome::tampered).error().message,
            "the outcome tampered needs an answer by gzip or pasteboard, and this one travels by url");
  EXPECT_EQ(respond(list, Outcome::expired).error().message,
            "the outcome expired needs an answer by pasteboard, and this one travels by url");
  EXPECT_EQ(respond(list, Decision{.transport = Transport::gzip}).error().message,
            "only a payment is answered by gzip");
}

TEST(Response, WithoutAnAmountIsAnApproval) {
  EXPECT_EQ(usualOutcome(linkOf("reboot?request_id=1")), Outcome::approve);
  EXPECT_EQ(usualOutcome(linkOf("clear_data?request_id=1&amount=3.01")), Outcome::decline);
}

}  // namespace
}  // namespace tilvanego::sandbox
