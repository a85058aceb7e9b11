#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

const URL callbackURL = parsedURL("myshop://done");

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

TEST(PaymentCallback, IsReadByItsWordsAndKeys) {
  struct Case {
    std::string_view query;
    std::string_view expected;
  };
  for (const auto& [query, expected] : {
           Case{"?status=%20%0AApProVed%E3%80%80", "success+"},
           Case{"?status=approved.", "failure(paymentFailed: Payment failed with status approved..)+"},
           Case{"?%53tatus=approved", "success+"},
           // Case is ignored beyond ASCII too: the long s is an "s".
           Case{"?%C5%BFtatus=approved", "success+"},
           Case{"?status=approved&request_id", "success+"},
           Case{"?sessionId=abc&request_id=x&status=approved", "success+"},
           Case{"?request_id=%20abc&status=approved",
                "failure(requestIdMismatch: Payment callback request ID mismatch. Expected abc, received  "
                "abc.)+"},
           Case{"?request_id=&status=approved",
                "failure(requestIdMismatch: Payment callback request ID "
                "mismatch. Expected abc, received .)+"},
           Case{"#status=approved", "failure(missingStatus: Payment callback is missing a status.)+"},
           Case{"?a=status=approved", "failure(missingStatus: Payment callback is missing a status.)+"},
       }) {
    EXPECT_EQ(summary(TilvaneGo::parsePaymentResult(parsedURL("myshop://done" + std::string(query)), "abc",
                                                    parsedURL("MyShop://DONE/?x=1"))),
              expected)
        << query;
  }
}

TEST(PaymentCallback, FillsEveryFieldWithTheRawText) {
  const URL url = parsedURL(
      "myshop://done?request_id=%20A+1&status=Approved%20&message=Thank%20you&approvalCode=%00"
      "&txn_id=T%26&custom_id=&other=x&processor_message=late");
  using namespace std::string_literals;
  EXPECT_EQ(TilvaneGo::parsePaymentResult(url).value().response(),
            PaymentResponse({.callbackURL = url,
                             .requestId = " A+1",
                             .status = "Approved ",
                             .processorMessage = "Thank you",
                             .approvalCode = "\0"s,
                             .transactionId = "T&",
                             .customId = ""}));
}

TEST(PaymentCallback, OfAnySizeIsRead) {
  std::string items;
  for (int i = 0; i < 100'000; ++i) items += "%73tatu=" + std::to_string(i) + "&";
  const std::string megabyte(1 << 20, 'x');
  for (const std::string& query :
       {items + "status=cancel", "status=cancel&notes=" + megabyte, megabyte + "=1&status=cancel"}) {
    EXPECT_EQ(summary(TilvaneGo::parsePaymentResult(parsedURL("a://b?" + query))), "cancelled+");
  }
}

}  // namespace
}  // namespace tilvanego::test
