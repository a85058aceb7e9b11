#include <tilvanego/facade/TilvaneGoSDK.h>

#include "tests/support/Test.h"

namespace tilvanego {
namespace {

/// "case", or "failure(errorName: description)", with "+" if a response came along.
std::string summary(const std::optional<PaymentResult>& result) {
  if (!result) return "no value";
  std::string text(result->name());
  if (const auto* failure = std::get_if<PaymentResult::Failure>(&*result)) {
    text += "(" + std::string(failure->error.name()) + ": " + failure->error.errorDescription() + ")";
  }
  return text + (result->response() ? "+" : "");
}

struct Case {
  std::string_view query;
  std::string_view expected;
};

class PaymentCallback : public testing::TestWithParam<Case> {};

TEST_P(PaymentCallback, IsReadByItsWordsAndKeys) {
  const URL url = URL::parse("myshop://done" + std::string(GetParam().query)).value();
  EXPECT_EQ(summary(TilvaneGo::parsePaymentResult(url, "abc", URL::parse("MyShop://DONE/?x=1").value())),
            GetParam().expected);
}

constexpr std::string_view missing = "failure(missingStatus: Payment callback is missing a status.)+";

INSTANTIATE_TEST_SUITE_P(
    StatusWords, PaymentCallback,
    testing::Values(Case{"?status=approved", "success+"}, Case{"?status=success", "success+"},
                    Case{"?status=succeeded", "success+"}, Case{"?status=completed", "success+"},
                    Case{"?status=%20%0AApProVed%E3%80%80", "success+"},
                    Case{"?status=cancelled", "cancelled+"}, Case{"?status=canceled", "cancelled+"},
                    Case{"?status=CANCEL", "cancelled+"}, Case{"?status=declined", "declined+"},
                    Case{"?status=decline", "declined+"}, Case{"?status=rejected", "declined+"},
                    Case{"?status=failed", "failure(paymentFailed: Payment failed with status failed.)+"},
                    Case{"?status=%20Error", "failure(paymentFailed: Payment failed with status  Error.)+"},
                    Case{"?status=approved.",
                         "failure(paymentFailed: Payment failed with status approved..)+"},
                    Case{"", missing}, Case{"?", missing}, Case{"?status", missing},
                    Case{"?status=", missing}, Case{"?status=%20%09%0A", missing}));

INSTANTIATE_TEST_SUITE_P(
    Keys, PaymentCallback,
    testing::Values(
        Case{"?result=approved&status=declined", "success+"},
        Case{"?status=declined&result=approved", "declined+"}, Case{"?status&result=approved", missing},
        Case{"?status=&result=approved", missing}, Case{"?STATUS=approved", "success+"},
        Case{"?%53tatus=approved", "success+"}, Case{"?status=approved&request_id=abc", "success+"},
        Case{"?status=approved&REQUESTID=abc", "success+"}, Case{"?status=approved&request_id", "success+"},
        Case{"?status=approved&session_id=x",
             "failure(requestIdMismatch: Payment callback request ID mismatch. Expected abc, received x.)+"},
        Case{
            "?request_id=ABC",
            "failure(requestIdMismatch: Payment callback request ID mismatch. Expected abc, received ABC.)+"},
        Case{"?request_id=%20abc&status=approved",
             "failure(requestIdMismatch: Payment callback request ID mismatch. Expected abc, received  "
             "abc.)+"},
        Case{"?sessionId=abc&request_id=x&status=approved", "success+"},
        Case{"?request_id=&status=approved",
             "failure(requestIdMismatch: Payment callback request ID mismatch. Expected abc, received .)+"},
        Case{"#status=approved", missing}, Case{"?a=status=approved", missing}));

TEST(PaymentCallback, AnyNameThatEqualsAKeyWithCaseIgnoredCounts) {
  // The Kelvin sign is a "k", the long s an "s".
  EXPECT_EQ(summary(TilvaneGo::parsePaymentResult(URL::parse("a://b?%C5%BFtatus=approved").value())),
            "success+");
}

TEST(PaymentCallback, FillsEveryFieldWithTheRawText) {
  const URL url =
      URL::parse(
          "myshop://done?request_id=%20A+1&status=Approved%20&message=Thank%20you&approvalCode=%00"
          "&txn_id=T%26&custom_id=&other=x&processor_message=late")
          .value();
  const auto result = TilvaneGo::parsePaymentResult(url);
  ASSERT_TRUE(result && result->response());
  using namespace std::string_literals;
  EXPECT_EQ(*result->response(), PaymentResponse({.callbackURL = url,
                                                  .requestId = " A+1",
                                                  .status = "Approved ",
                                                  .processorMessage = "Thank you",
                                                  .approvalCode = "\0"s,
                                                  .transactionId = "T&",
                                                  .customId = ""}));
}

TEST(PaymentCallback, WithoutExpectationsAnyURLIsRead) {
  EXPECT_EQ(summary(TilvaneGo::parsePaymentResult(URL::parse("relative").value())), missing);
  EXPECT_EQ(summary(TilvaneGo::parsePaymentResult(URL::parse("x:?status=ok&request_id=1").value())),
            "failure(paymentFailed: Payment failed with status ok.)+");
}

TEST(PaymentCallback, OfAnotherURLIsNotThisPayments) {
  const URL expected = URL::parse("myshop://done/x").value();
  for (const char* other :
       {"other://done/x", "myshop://elsewhere/x", "myshop://done/X", "myshop://done", "myshop:/x"}) {
    const URL url = URL::parse(std::string(other) + "?status=approved").value();
    EXPECT_EQ(summary(TilvaneGo::parsePaymentResult(url, std::nullopt, expected)), "no value") << other;
  }
}

TEST(PaymentCallback, OfAnySizeIsRead) {
  std::string items = "myshop://done?";
  for (int i = 0; i < 100'000; ++i) items += "%73tatu=" + std::to_string(i) + "&";
  EXPECT_EQ(summary(TilvaneGo::parsePaymentResult(URL::parse(items + "status=approved").value())),
            "success+");
  const std::string megabyte(1 << 20, 'x');
  EXPECT_EQ(
      summary(TilvaneGo::parsePaymentResult(URL::parse("a://b?status=approved&notes=" + megabyte).value())),
      "success+");
  EXPECT_EQ(
      summary(TilvaneGo::parsePaymentResult(URL::parse("a://b?" + megabyte + "=1&status=cancel").value())),
      "cancelled+");
}

}  // namespace
}  // namespace tilvanego
