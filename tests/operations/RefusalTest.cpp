#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

/// The message by which a start is refused, or "" if it is pending. The request says the same without a
/// start.
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
  EXPECT_EQ(request.validate().value_or(""), message);
  EXPECT_EQ(host.application->openedURLs().size(), pending ? 1U : 0U);
  for (const Kind& kind : allKinds()) {
    EXPECT_FALSE(!pending && (*host.sdk.*kind.isInProgress)()) << "a refused start leaves nothing behind";
  }
  return message;
}

/// A message, and a change of the fields that it is the answer to.
template <typename Spoil>
struct Rule {
  std::string_view message;
  Spoil spoil;
};

constexpr std::string_view schemeMissing = "Callback URL must include a URL scheme.";
const Rule id{"Request ID is required.", [](auto& f) { f.requestId = " \n\u2028"; }};
const Rule transactionId{"Transaction ID is required.", [](auto& f) { f.transactionId = "\n"; }};
const Rule scheme{schemeMissing, [](auto& f) { f.callbackURL = parsedURL("done/here"); }};
const Rule token{"Credential basic token is required.",
                 [](auto& f) { f.credentials = PaymentCredentials({" ", "\t", "test"}); }};
const Rule account{"Credential account ID is required.",
                   [](auto& f) { f.credentials = PaymentCredentials({"t", "\t", "test"}); }};
const Rule environment{"Credential environment must be STAGING, CERT, or PROD.",
                       [](auto& f) { f.credentials = PaymentCredentials({"t", "a", "test"}); }};

template <typename Request, typename Completion>
void expectRefusedOnceMovedFrom(void (TilvaneGo::*start)(Request, Completion),
                                typename Request::Fields fields) {
  Request request(fields);
  const Request taken = std::move(request);
  EXPECT_NE(refusal(start, request), "");
  EXPECT_EQ(refusal(start, taken), "");
  const URL url = std::move(fields.callbackURL);
  EXPECT_EQ(refusal(start, Request(fields)), schemeMissing);
}

/// Breaks the rules from the last to the first: at each step its message is the one, whatever comes after it.
template <typename Request, typename Completion, typename... Rules>
void expectFirstRuleDecides(void (TilvaneGo::*start)(Request, Completion), typename Request::Fields fields,
                            const Rules&... rules) {
  using Fields = typename Request::Fields;
  expectRefusedOnceMovedFrom(start, fields);
  std::vector<Rule<std::function<void(Fields&)>>> breaking{{rules.message, rules.spoil}...};
  std::ranges::reverse(breaking);
  for (const auto& [message, spoil] : breaking) {
    spoil(fields);
    EXPECT_EQ(refusal(start, Request(fields)), message);
  }
}

TEST(RefusedRequests, SayTheFirstThingToMendAndAreAllThatWereMovedFrom) {
  const URL url = parsedURL("myshop://done");
  expectFirstRuleDecides(
      &TilvaneGo::initialize,
      {.requestId = " A ",
       .callbackURL = url,
       .sourceApplication = "",
       .basicToken = "t",
       .accountId = "a",
       .environment = " Cert\n"},
      id, scheme, Rule{"Basic token must not be empty when provided.", [](auto& f) { f.basicToken = " "; }},
      Rule{"Account ID must not be empty when provided.", [](auto& f) { f.accountId = "\u3000"; }},
      Rule{"Environment must be STAGING, CERT, or PROD.", [](auto& f) { f.environment = "PRODUCTION"; }},
      Rule{"Environment must be STAGING, CERT, or PROD.", [](auto& f) { f.environment = ""; }});
  expectFirstRuleDecides(&TilvaneGo::getTransactionList, {.callbackURL = url}, scheme);
  expectFirstRuleDecides(
      &TilvaneGo::fullRefund,
      {.requestId = "A",
       .transactionId = "T",
       .callbackURL = url,
       .credentials = PaymentCredentials({.basicToken = "t", .accountId = "a", .environment = "staging"})},
      id, transactionId, scheme, token, account, environment);
  constexpr std::string_view amount = "Amount must be greater than zero.";
  expectFirstRuleDecides(&TilvaneGo::partialRefund,
                         {.requestId = "A",
                          .transactionId = "T",
                          .amount = Decimal::parse("0.001").value(),
                          .callbackURL = url,
                          .credentials = credentials()},
                         id, transactionId, Rule{amount, [](auto& f) { f.amount = 0; }},
                         Rule{amount, [](auto& f) { f.amount = -1; }}, scheme, token, account, environment);
  constexpr std::string_view decimal = "Amount must be a decimal value greater than zero.";
  expectFirstRuleDecides(&TilvaneGo::capture,
                         {.requestId = "A", .transactionId = "T", .amount = "12abc", .callbackURL = url}, id,
                         transactionId, Rule{decimal, [](auto& f) { f.amount = "0e5"; }},
                         Rule{decimal, [](auto& f) { f.amount = "-1"; }},
                         Rule{decimal, [](auto& f) { f.amount = ",5"; }}, scheme);
  expectFirstRuleDecides(
      &TilvaneGo::clearData, {.requestId = "A", .callbackURL = url, .timeout = 1}, id, scheme,
      Rule{"Amount must be greater than zero when provided.", [](auto& f) { f.amount = -1; }},
      Rule{"Amount must be greater than zero when provided.", [](auto& f) { f.amount = 0; }},
      Rule{"Timeout must be greater than zero when provided.", [](auto& f) { f.timeout = -1; }},
      Rule{"Timeout must be greater than zero when provided.", [](auto& f) { f.timeout = 0; }});
  expectFirstRuleDecides(&TilvaneGo::reboot, {.requestId = "A", .callbackURL = url}, id, scheme);
  constexpr std::string_view currency = "Currency must be a three-letter ISO 4217 code.";
  expectFirstRuleDecides(
      &TilvaneGo::save, {.requestId = "A", .callbackURL = url, .currency = "\neur "}, id, scheme,
      Rule{currency, [](auto& f) { f.currency = "E R"; }},
      Rule{currency, [](auto& f) { f.currency = "\u00c9UR"; }},
      Rule{"Credential basic token is required when credentials are provided.", token.spoil},
      Rule{"Credential account ID is required when credentials are provided.", account.spoil}, environment);
  expectRefusedOnceMovedFrom(&TilvaneGo::startPayment,
                             {.requestId = "A", .amount = 1, .currency = "EUR", .callbackURL = url});
}

}  // namespace
}  // namespace tilvanego::test
