#pragma once

#include "tests/support/Kinds.h"
#include "tests/support/Test.h"

/// What random sequences are made of: numbers, and kinds of operations that can be started.
namespace tilvanego::test {

/// What all host code here throws.
struct Thrown {};

/// The same numbers for the same seed, whatever the standard library.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next() {
    std::uint64_t mixed = (state_ += 0x9E3779B97F4A7C15U);
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
  }
  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(next() % bound); }
  bool oneIn(std::size_t chances) { return below(chances) == 0; }

 private:
  std::uint64_t state_;
};

/// What a completion says of its operation.
struct CompletionFacts {
  std::string_view error;
  std::optional<std::string> requestId;
  std::optional<std::string> expectedRequestId;
};

template <typename Result>
CompletionFacts factsOf(const Result& result) {
  CompletionFacts facts;
  if (const auto response = result.response()) facts.requestId = response->requestId();
  if (const auto* failure = std::get_if<typename Result::Failure>(&result)) {
    facts.error = failure->error.name();
    if (const auto* other = std::get_if<typename Result::Error::RequestIdMismatch>(&failure->error)) {
      facts.expectedRequestId = other->expected;
    }
  }
  return facts;
}

/// A kind that a sequence can start, with an id, a URL and a completion of its own.
template <typename Completion>
struct StartableKind {
  const Kind& kind;
  std::string_view urlLabel;
  void (*start)(TilvaneGo& sdk, const std::string& id, const URL& url,
                const PaymentLaunchTransport& transport, Completion completion);
};

/// In the order of `allKinds`.
static_assert(operationKinds.size() == 9, "each operation has a row in startableKinds");
template <typename Completion>
inline const std::array<StartableKind<Completion>, 9> startableKinds{{
    {allKinds()[0], "InitializationURL: ",
     [](auto& sdk, const auto& id, const auto& url, const auto&, auto completion) {
       sdk.initialize(InitializationRequest({.requestId = id,
                                             .callbackURL = url,
                                             .sourceApplication = "shop",
                                             .basicToken = "t",
                                             .accountId = "a",
                                             .environment = "PROD"}),
                      std::move(completion));
     }},
    {allKinds()[1], "TransactionListURL: ",
     [](auto& sdk, const auto& id, const auto& url, const auto&, auto completion) {
       sdk.getTransactionList(TransactionListRequest({.requestId = id, .callbackURL = url}),
                              std::move(completion));
     }},
    {allKinds()[2], "FullRefundURL: ",
     [](auto& sdk, const auto& id, const auto& url, const auto&, auto completion) {
       sdk.fullRefund(
           FullRefundRequest(
               {.requestId = id, .transactionId = "T", .callbackURL = url, .credentials = credentials()}),
           std::move(completion));
     }},
    {allKinds()[3], "PartialRefundURL: ",
     [](auto& sdk, const auto& id, const auto& url, const auto&, auto completion) {
       sdk.partialRefund(PartialRefundRequest({.requestId = id,
                                               .transactionId = "T",
                                               .amount = 1,
                                               .callbackURL = url,
                                               .credentials = credentials()}),
                         std::move(completion));
     }},
    {allKinds()[4], "CaptureURL: ",
     [](auto& sdk, const auto& id, const auto& url, const auto&, auto completion) {
       sdk.capture(CaptureRequest({.requestId = id, .transactionId = "T", .amount = "1", .callbackURL = url}),
                   std::move(completion));
     }},
    {allKinds()[5], "ClearDataURL: ",
     [](auto& sdk, const auto& id, const auto& url, const auto&, auto completion) {
       sdk.clearData(ClearDataRequest({.requestId = id, .callbackURL = url, .amount = 1, .timeout = 30}),
                     std::move(completion));
     }},
    {allKinds()[6], "RebootURL: ",
     [](auto& sdk, const auto& id, const auto& url, const auto&, auto completion) {
       sdk.reboot(RebootRequest({.requestId = id, .callbackURL = url}), std::move(completion));
     }},
    {allKinds()[7], "SaveURL: ",
     [](auto& sdk, const auto& id, const auto& url, const auto&, auto completion) {
       sdk.save(SaveRequest({.requestId = id, .callbackURL = url, .currency = "EUR"}), std::move(completion));
     }},
    {allKinds()[8], "InlinePaymentUrl: ",
     [](auto& sdk, const auto& id, const auto& url, const auto& transport, auto completion) {
       sdk.startPayment(PaymentRequest({.requestId = id, .amount = 1, .currency = "EUR", .callbackURL = url}),
                        transport, std::move(completion));
     }},
}};

}  // namespace tilvanego::test
