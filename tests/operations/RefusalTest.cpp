#include "tests/support/Kinds.h"
#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

const URL good = parsedURL("myshop://done");
const URL noScheme = parsedURL("done/here");

PaymentCredentials credentials(std::string token, std::string account, std::string environment) {
  return PaymentCredentials({std::move(token), std::move(account), std::move(environment)});
}

/// The message by which a start is refused, or "" if it is pending.
template <typename Request, typename Completion>
std::string refusal(void (TilvaneGo::*start)(Request, Completion), const Request& request) {
  TestHost host;
  std::string message;
  bool pending = true;
  (*host.sdk.*start)(request, [&](const auto& result) {
    using Result = std::remove_cvref_t<decltype(result)>;
    const auto& failure = std::get<typename Result::Failure>(result);
    EXPECT_EQ(failure.error.name(), "invalidRequest");
    EXPECT_FALSE(failure.response);
    message = failure.error.errorDescription();
    pending = false;
  });
  EXPECT_EQ(host.application->openedURLs().size(), pending ? 1U : 0U);
  for (const Kind& kind : allKinds()) {
    EXPECT_FALSE(!pending && (*host.sdk.*kind.isInProgress)()) << "a refused start leaves nothing behind";
  }
  return message;
}
template <typename Request, typename Completion>
std::string refusal(void (TilvaneGo::*start)(Request, Completion), const typename Request::Fields& fields) {
  return refusal(start, Request(fields));
}

constexpr auto requestIdMissing = "Request ID is required.";
constexpr auto transactionIdMissing = "Transaction ID is required.";
constexpr auto schemeMissing = "Callback URL must include a URL scheme.";
constexpr auto tokenMissing = "Credential basic token is required.";
constexpr auto accountMissing = "Credential account ID is required.";
constexpr auto environmentUnknown = "Credential environment must be STAGING, CERT, or PROD.";

// Each row spoils what the row's rule looks at and everything after it, so that the order shows.

TEST(RefusedInitialization, SaysTheFirstThingToMend) {
  const auto of = [](auto id, const URL& url, std::optional<std::string> token,
                     std::optional<std::string> account, std::optional<std::string> environment) {
    return refusal(&TilvaneGo::initialize, {.requestId = id,
                                            .callbackURL = url,
                                            .sourceApplication = "",
                                            .basicToken = token,
                                            .accountId = account,
                                            .environment = environment});
  };
  EXPECT_EQ(of(" \n", noScheme, "", "", ""), requestIdMissing);
  EXPECT_EQ(of("A", noScheme, "", "", ""), schemeMissing);
  EXPECT_EQ(of("A", good, " ", "\t", ""), "Basic token must not be empty when provided.");
  EXPECT_EQ(of("A", good, "t", "\u3000", ""), "Account ID must not be empty when provided.");
  for (const char* environment : {"", " ", "PRODUCTION", "PR OD"}) {
    EXPECT_EQ(of("A", good, "t", "a", environment), "Environment must be STAGING, CERT, or PROD.")
        << environment;
  }
  for (const char* environment : {"prod\n", " Cert", "STAGING"}) {
    EXPECT_EQ(of(" A ", good, "t", "a", environment), "") << environment;
  }
}

TEST(RefusedTransactionList, NeedsASchemeAlone) {
  EXPECT_EQ(refusal(&TilvaneGo::getTransactionList, {.requestId = "A", .callbackURL = noScheme}),
            schemeMissing);
  EXPECT_EQ(refusal(&TilvaneGo::getTransactionList, {.callbackURL = good}), "");
}

TEST(RefusedFullRefund, SaysTheFirstThingToMend) {
  const auto of = [](auto id, auto transactionId, const URL& url, const PaymentCredentials& given) {
    return refusal(
        &TilvaneGo::fullRefund,
        {.requestId = id, .transactionId = transactionId, .callbackURL = url, .credentials = given});
  };
  EXPECT_EQ(of(" ", "", noScheme, credentials("", "", "")), requestIdMissing);
  EXPECT_EQ(of("A", "\n", noScheme, credentials("", "", "")), transactionIdMissing);
  EXPECT_EQ(of("A", "T", noScheme, credentials("", "", "")), schemeMissing);
  EXPECT_EQ(of("A", "T", good, credentials(" ", "", "")), tokenMissing);
  EXPECT_EQ(of("A", "T", good, credentials("t", "\t", "")), accountMissing);
  EXPECT_EQ(of("A", "T", good, credentials("t", "a", "test")), environmentUnknown);
  EXPECT_EQ(of("A", "T", good, credentials("t", "a", " cert ")), "");
}

TEST(RefusedPartialRefund, LooksAtTheAmountBeforeTheURL) {
  const auto of = [](auto id, auto transactionId, auto amount, const URL& url,
                     const PaymentCredentials& given) {
    return refusal(&TilvaneGo::partialRefund, {.requestId = id,
                                               .transactionId = transactionId,
                                               .amount = Decimal::parse(amount).value(),
                                               .callbackURL = url,
                                               .credentials = given});
  };
  constexpr auto amountMessage = "Amount must be greater than zero.";
  EXPECT_EQ(of("", "", "0", noScheme, credentials("", "", "")), requestIdMissing);
  EXPECT_EQ(of("A", "", "0", noScheme, credentials("", "", "")), transactionIdMissing);
  EXPECT_EQ(of("A", "T", "0.00", noScheme, credentials("", "", "")), amountMessage);
  EXPECT_EQ(of("A", "T", "-0.01", noScheme, credentials("", "", "")), amountMessage);
  EXPECT_EQ(of("A", "T", "0.001", noScheme, credentials("", "", "")), schemeMissing);
  EXPECT_EQ(of("A", "T", "1", good, credentials("", "", "")), tokenMissing);
  EXPECT_EQ(of("A", "T", "1", good, credentials("t", "", "")), accountMissing);
  EXPECT_EQ(of("A", "T", "1", good, credentials("t", "a", "")), environmentUnknown);
  EXPECT_EQ(of("A", "T", "1", good, credentials("t", "a", "prod")), "");
}

TEST(RefusedCapture, ReadsTheAmountsText) {
  const auto of = [](auto id, auto transactionId, auto amount, const URL& url) {
    return refusal(&TilvaneGo::capture,
                   {.requestId = id, .transactionId = transactionId, .amount = amount, .callbackURL = url});
  };
  EXPECT_EQ(of("", "", "", noScheme), requestIdMissing);
  EXPECT_EQ(of("A", "", "", noScheme), transactionIdMissing);
  for (const char* amount : {"", " ", "abc", "0", "0.00", "0e5", "-1", ",5", "."}) {
    EXPECT_EQ(of("A", "T", amount, noScheme), "Amount must be a decimal value greater than zero.") << amount;
  }
  for (const char* amount : {"12.50", "12abc", "1,000", ".5", "1e3", "+1"}) {
    EXPECT_EQ(of("A", "T", amount, noScheme), schemeMissing) << amount;
    EXPECT_EQ(of("A", "T", amount, good), "") << amount;
  }
}

TEST(RefusedClearData, LooksAtTheURLBeforeItsOptions) {
  const auto of = [](auto id, const URL& url, std::optional<Decimal> amount,
                     std::optional<std::int64_t> timeout) {
    return refusal(&TilvaneGo::clearData,
                   {.requestId = id, .callbackURL = url, .amount = amount, .timeout = timeout});
  };
  EXPECT_EQ(of("", noScheme, 0, 0), requestIdMissing);
  EXPECT_EQ(of("A", noScheme, 0, 0), schemeMissing);
  EXPECT_EQ(of("A", good, 0, 0), "Amount must be greater than zero when provided.");
  EXPECT_EQ(of("A", good, -1, 0), "Amount must be greater than zero when provided.");
  EXPECT_EQ(of("A", good, 1, 0), "Timeout must be greater than zero when provided.");
  EXPECT_EQ(of("A", good, std::nullopt, -1), "Timeout must be greater than zero when provided.");
  EXPECT_EQ(of("A", good, std::nullopt, 1), "");
}

TEST(RefusedReboot, SaysTheFirstThingToMend) {
  EXPECT_EQ(refusal(&TilvaneGo::reboot, {.requestId = "\u2028", .callbackURL = noScheme}), requestIdMissing);
  EXPECT_EQ(refusal(&TilvaneGo::reboot, {.requestId = "A", .callbackURL = parsedURL("//done")}),
            schemeMissing);
}

TEST(RefusedSave, LooksAtTheURLBeforeTheCurrency) {
  const auto of = [](auto id, const URL& url, auto currency, std::optional<PaymentCredentials> given) {
    return refusal(&TilvaneGo::save,
                   {.requestId = id, .callbackURL = url, .currency = currency, .credentials = given});
  };
  const auto bad = credentials("", "", "");
  EXPECT_EQ(of("", noScheme, "", bad), requestIdMissing);
  EXPECT_EQ(of("A", noScheme, "", bad), schemeMissing);
  for (const char* currency : {"", "EU", "EURO", "E1R", "E R", "\u00c9UR", "EU\u00df"}) {
    EXPECT_EQ(of("A", good, currency, bad), "Currency must be a three-letter ISO 4217 code.") << currency;
  }
  EXPECT_EQ(of("A", good, "eur", bad), "Credential basic token is required when credentials are provided.");
  EXPECT_EQ(of("A", good, "eur", credentials("t", " ", "")),
            "Credential account ID is required when credentials are provided.");
  EXPECT_EQ(of("A", good, "eur", credentials("t", "a", "")), environmentUnknown);
  EXPECT_EQ(of("A", good, "\neur ", std::nullopt), "");
}

template <typename Request, typename Completion>
void expectRefusedOnceMovedFrom(void (TilvaneGo::*start)(Request, Completion),
                                typename Request::Fields fields) {
  Request request(fields);
  const Request taken = std::move(request);
  EXPECT_NE(refusal(start, request), "");
  EXPECT_EQ(refusal(start, taken), "");
  const URL url = std::move(fields.callbackURL);
  EXPECT_EQ(refusal(start, fields), schemeMissing);
}

TEST(RefusedRequests, AreAllThatWereMovedFrom) {
  const auto given = credentials("t", "a", "PROD");
  const std::string id = "A-1";
  expectRefusedOnceMovedFrom(&TilvaneGo::initialize, {.requestId = id,
                                                      .callbackURL = good,
                                                      .sourceApplication = "shop",
                                                      .basicToken = "t",
                                                      .accountId = "a",
                                                      .environment = "PROD"});
  expectRefusedOnceMovedFrom(&TilvaneGo::getTransactionList, {.requestId = id, .callbackURL = good});
  expectRefusedOnceMovedFrom(
      &TilvaneGo::fullRefund,
      {.requestId = id, .transactionId = "T", .callbackURL = good, .credentials = given});
  expectRefusedOnceMovedFrom(
      &TilvaneGo::partialRefund,
      {.requestId = id, .transactionId = "T", .amount = 1, .callbackURL = good, .credentials = given});
  expectRefusedOnceMovedFrom(&TilvaneGo::capture,
                             {.requestId = id, .transactionId = "T", .amount = "1", .callbackURL = good});
  expectRefusedOnceMovedFrom(&TilvaneGo::clearData, {.requestId = id, .callbackURL = good});
  expectRefusedOnceMovedFrom(&TilvaneGo::reboot, {.requestId = id, .callbackURL = good});
  expectRefusedOnceMovedFrom(&TilvaneGo::save, {.requestId = id, .callbackURL = good, .currency = "EUR"});
  expectRefusedOnceMovedFrom(&TilvaneGo::startPayment,
                             {.requestId = id, .amount = 1, .currency = "EUR", .callbackURL = good});
}

}  // namespace
}  // namespace tilvanego::test
