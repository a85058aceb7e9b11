#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>

#include "tests/support/Test.h"

namespace tilvanego {
namespace {

const URL callbackURL = URL::parse("myshop://done").value();

TEST(PaymentRequest, MendsTheCurrencyAndNothingElse) {
  const PaymentRequest request({.requestId = " a ",
                                .amount = 1,
                                .currency = " usd\n",
                                .callbackURL = callbackURL,
                                .customId = " c ",
                                .notes = ""});
  EXPECT_EQ(request.currency(), "USD");
  EXPECT_EQ(request.requestId() + *request.customId() + *request.notes(), " a  c ");
}

TEST(PaymentRequest, OfTypeSaveHasNoAmountAndAPresentTip) {
  const PaymentRequest request({.requestId = "a",
                                .amount = 10,
                                .transactionType = PaymentTransactionType::save,
                                .currency = "USD",
                                .callbackURL = callbackURL});
  EXPECT_EQ(request.amount(), 0);
  EXPECT_EQ(request.tip(), Decimal(0));
}

TEST(PaymentCredentials, MendTheEnvironmentAlone) {
  const PaymentCredentials credentials({.basicToken = " t ", .accountId = " a ", .environment = "\tprod "});
  EXPECT_EQ(credentials.environment() + credentials.basicToken() + credentials.accountId(), "PROD t  a ");
}

TEST(PaymentError, DescribesWhatLacksADetail) {
  EXPECT_EQ(PaymentError(PaymentError::RequestIdMismatch{"abc", std::nullopt}).errorDescription(),
            "Payment callback request ID mismatch. Expected abc, received none.");
  EXPECT_EQ(PaymentError(PaymentError::PaymentFailed{}).errorDescription(),
            "Payment failed with status unknown.");
  EXPECT_EQ(PaymentError(PaymentError::InvalidCallback{}).errorDescription(),
            "The payment callback could not be parsed.");
}

TEST(PaymentResult, IsComparedWithItsCases) {
  const PaymentResponse response({.callbackURL = callbackURL, .status = "ok"});
  const PaymentResult success = PaymentResult::Success{response};
  EXPECT_EQ(success, PaymentResult(PaymentResult::Success{response}));
  EXPECT_NE(success, PaymentResult(PaymentResult::Declined{response}));
  EXPECT_TRUE(success == PaymentResult::Success{response} && PaymentResult::Success{response} == success);
  EXPECT_TRUE(success != PaymentResult::Declined{response} && PaymentResult::Declined{response} != success);
  const PaymentError error = PaymentError::PaymentFailed{"odd"};
  EXPECT_TRUE(error == PaymentError::PaymentFailed{"odd"} && PaymentError::PaymentFailed{"odd"} == error);
  EXPECT_TRUE(error != PaymentError::PaymentFailed{"even"} && PaymentError::MissingStatus{} != error);
}

}  // namespace
}  // namespace tilvanego
