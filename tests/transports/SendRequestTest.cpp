#include "tests/support/Test.h"
#include "tests/transports/Payments.h"

namespace tilvanego::test {
namespace {

struct Texts {
  std::string requestId = "A-1";
  std::string amount = "12.50";
  std::string type = "SALE";
  std::string currency = " eur ";
  std::string returnUrl = "myshop://done";
  std::string customId = "";
  std::string notes = "";
};

/// What was opened, or the message of the failure.
std::string sent(TestHost& host, const Texts& texts) {
  std::string outcome;
  host.sdk->sendRequest(texts.requestId, texts.amount, texts.type, texts.currency, texts.returnUrl,
                        texts.customId, texts.notes, [&](const PaymentResult& result) {
                          outcome = std::get<PaymentResult::Failure>(result).error.errorDescription();
                        });
  return outcome.empty() ? host.application->openedURLs().back().absoluteString() : outcome;
}

struct Sent {
  std::string_view rule;
  Texts texts;
  std::string_view outcome;
};

TEST(SendRequest, MakesAPaymentOfTextsOrSaysTheFirstThatMeansNothing) {
  const Sent all[]{
      {"empty texts are left out",
       {},
       "tilvanego://payment/v1/start?request_id=A-1&amount=12.5&type=sale&currency=EUR&return_url=myshop://"
       "done&require_"
       "reader_ready=true"},
      {"blanks are texts",
       {.customId = " ", .notes = "\t"},
       "tilvanego://payment/v1/start?request_id=A-1&amount=12.5&type=sale&currency=EUR&return_url=myshop://"
       "done&custom_"
       "id=%20&notes=%09&require_reader_ready=true"},
      {"amount before type", {.amount = "ten", .type = "x"}, "Amount must be a decimal value."},
      {"empty amount", {.amount = ""}, "Amount must be a decimal value."},
      {"type before URL, as it was written",
       {.type = "Refund", .returnUrl = ""},
       "Unsupported transaction type: Refund."},
      {"blank around a type", {.type = " sale"}, "Unsupported transaction type:  sale."},
      {"no URL", {.returnUrl = ""}, "Return URL is invalid."},
      {"no scheme", {.returnUrl = "done"}, "Callback URL must include a URL scheme."},
      {"a save has no amount", {.type = "Save"}, "Amount must be greater than zero."},
      {"validation comes after", {.requestId = " "}, "Request ID is required."},
  };
  for (const auto& [rule, texts, outcome] : all) {
    TestHost host;
    EXPECT_EQ(sent(host, texts), outcome) << rule;
  }
}

TEST(SendRequest, ThatMeansNothingShowsNothingAndLooksAtNoSlot) {
  TestHost host;
  sent(host, {});
  host.takeEvents();
  EXPECT_EQ(sent(host, {.amount = "ten"}), "Amount must be a decimal value.");
  EXPECT_TRUE(host.takeEvents().empty());
  EXPECT_EQ(sent(host, {}), "A payment is already in progress.");
  host.sdk->sendRequest("", "", "", "", "", "", "", nullptr);
}

}  // namespace
}  // namespace tilvanego::test
