#pragma once

#include <random>

#include <tilvanego/operations/Operations.h>

#include "tests/support/Kinds.h"
#include "tests/support/Test.h"

/// What random sequences are made of: numbers, and kinds of operations that can be started.
namespace tilvanego::test {

/// What all host code here throws.
struct Thrown {};

/// The same numbers for the same seed, whatever the standard library.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : engine_(seed) {}
  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(engine_() % bound); }
  bool oneIn(std::size_t chances) { return below(chances) == 0; }

 private:
  std::mt19937_64 engine_;
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

template <OperationKind kind, typename Completion>
void startKind(TilvaneGo& sdk, const std::string& id, const URL& url, const PaymentLaunchTransport& transport,
               Completion completion) {
  if constexpr (kind == OperationKind::payment) {
    sdk.startPayment(fullRequest<kind>(url, id), transport, std::move(completion));
  } else {
    (sdk.*operationFunctions<kind>.start)(fullRequest<kind>(url, id), std::move(completion));
  }
}

/// In the order of `operationKinds`.
template <typename Completion>
inline const auto startableKinds = []<std::size_t... index>(std::index_sequence<index...>) {
  return std::array{StartableKind<Completion>{kindNamed(rawText(operationKinds[index])),
                                              detail::OperationOf<operationKinds[index]>::texts.urlLabel,
                                              &startKind<operationKinds[index], Completion>}...};
}(std::make_index_sequence<operationKinds.size()>());

}  // namespace tilvanego::test
