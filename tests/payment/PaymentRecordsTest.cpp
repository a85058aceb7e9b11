#include <tilvanego/payment/PaymentLaunchTransport.h>
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
  EXPECT_EQ(request.requestId(), " a ");
  EXPECT_EQ(request.customId(), " c ");
  EXPECT_EQ(request.notes(), "");
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
  EXPECT_EQ(credentials.environment(), "PROD");
  EXPECT_EQ(credentials.basicToken(), " t ");
  EXPECT_EQ(credentials.accountId(), " a ");
}

TEST(PaymentTransactionType, IsReadByItsExactText) {
  EXPECT_EQ(fromRawText<PaymentTransactionType>("auth"), PaymentTransactionType::auth);
  EXPECT_EQ(fromRawText<PaymentTransactionType>("Auth"), std::nullopt);
  EXPECT_EQ(allCases<PaymentTransactionType>().size(), 3U);
}

TEST(PaymentLaunchTransport, IsShownByItsCaseAndPayload) {
  EXPECT_EQ(PaymentLaunchTransport::automatic(-5).text(), "automatic(maxInlineURLLength: -5)");
  EXPECT_EQ(PaymentLaunchTransport::urlScheme().text(), "urlScheme");
  EXPECT_EQ(PaymentLaunchTransport::gzip().text(), "gzip");
  EXPECT_EQ(PaymentLaunchTransport::pasteboard().text(), "pasteboard");
}

TEST(PaymentError, DescribesEachCase) {
  const std::vector<std::pair<PaymentError, std::string_view>> texts{
      {PaymentError::InvalidRequest{"Amount must be greater than zero."},
       "Amount must be greater than zero."},
      {PaymentError::RequestIdMismatch{"abc", std::nullopt},
       "Payment callback request ID mismatch. Expected abc, received none."},
      {PaymentError::PaymentFailed{}, "Payment failed with status unknown."},
      {PaymentError::PaymentAppNotInstalled{}, "Tilvane payment app is not installed or cannot be opened."},
      {PaymentError::PaymentInProgress{}, "A payment is already in progress."},
      {PaymentError::InvalidCallback{}, "The payment callback could not be parsed."},
      {PaymentError::PasteboardHandoffUnavailable{}, "Pasteboard handoff is not available on this platform."},
      {PaymentError::PasteboardHandoffMissing{}, "Pasteboard handoff payload is missing."},
      {PaymentError::PasteboardHandoffExpired{}, "Pasteboard handoff payload has expired."},
      {PaymentError::PasteboardHandoffInvalid{}, "Pasteboard handoff payload is invalid."},
      {PaymentError::PasteboardHandoffDecryptionFailed{},
       "Pasteboard handoff payload could not be decrypted."},
      {PaymentError::UrlPayloadTooLarge{}, "Compressed URL payload is too large."},
      {PaymentError::UrlPayloadInvalid{}, "Compressed URL payload is invalid."},
      {PaymentError::UrlPayloadDecompressionFailed{}, "Compressed URL payload could not be decompressed."},
  };
  for (const auto& [error, text] : texts) EXPECT_EQ(error.errorDescription(), text) << error.name();
}

TEST(PaymentResult, IsVisitedAndComparedAsAVariant) {
  const PaymentResponse::Fields fields{.callbackURL = callbackURL, .status = "ok"};
  const PaymentResponse response(fields);
  const PaymentResult success = PaymentResult::Success{response};
  const PaymentResult failure = PaymentResult::Failure{PaymentError::MissingStatus{}, std::nullopt};
  EXPECT_NE(success, failure);
  EXPECT_EQ(success, PaymentResult(PaymentResult::Success{response}));
  EXPECT_NE(success, PaymentResult(PaymentResult::Declined{response}));
  EXPECT_EQ(success.response(), response);
  EXPECT_EQ(failure.response(), std::nullopt);
  EXPECT_EQ(std::visit([](const auto& one) { return one.name; }, failure), "failure");

  EXPECT_TRUE(success == PaymentResult::Success{response} && PaymentResult::Success{response} == success);
  EXPECT_TRUE(success != PaymentResult::Declined{response} && PaymentResult::Declined{response} != success);
  const PaymentError error = PaymentError::PaymentFailed{"odd"};
  EXPECT_TRUE(error == PaymentError::PaymentFailed{"odd"} && PaymentError::PaymentFailed{"odd"} == error);
  EXPECT_TRUE(error != PaymentError::PaymentFailed{"even"} && PaymentError::MissingStatus{} != error);
  EXPECT_EQ(std::get<PaymentResult::Failure>(failure).error, PaymentError::MissingStatus{});
}

}  // namespace
}  // namespace tilvanego
