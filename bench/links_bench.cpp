#include <cstdio>
#include <cstdlib>

#include <benchmark/benchmark.h>

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/payment/PaymentOperation.h>

#include "allocations.h"
#include "links.h"

namespace tilvanego::bench {
namespace {

/// Counts what one turn allocates, on top of its time.
template <typename Work>
void measure(benchmark::State& state, std::size_t bytes, Work work) {
  const std::size_t before = allocations();
  for (auto _ : state) benchmark::DoNotOptimize(work());
  state.counters["allocations"] =
      static_cast<double>(allocations() - before) / static_cast<double>(state.iterations());
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * static_cast<std::int64_t>(state.iterations()));
}

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "links_bench: %s\n", what);
  std::exit(1);
}

void readCallbackByLibrary(benchmark::State& state) {
  const std::optional<std::string> id = std::string(expectedRequestId);
  const std::optional<URL> expected = URL::parse(expectedCallback).value();
  const auto read = [&] { return TilvaneGo::parsePaymentResult(URL::parse(callback).value(), id, expected); };
  const auto result = read();
  require(result && std::holds_alternative<PaymentResult::Success>(*result), "the library read no success");
  const auto limit = *hand::read(callback);
  require(result->response()->processorMessage() == limit.fields[2] &&
              result->response()->customId() == limit.fields[5],
          "the library and the limit read different fields");
  measure(state, callback.size(), read);
}
BENCHMARK(readCallbackByLibrary);

void readCallback(benchmark::State& state, std::optional<Read> (*read)(std::string_view)) {
  const auto result = read(callback);
  const auto limit = *hand::read(callback);
  require(result && result->approved && result->fields == limit.fields, "a peer read other fields");
  measure(state, callback.size(), [read] { return read(callback); });
}
BENCHMARK_CAPTURE(readCallback, ByHand, hand::read);
BENCHMARK_CAPTURE(readCallback, ByBoostURL, boostURL::read);
BENCHMARK_CAPTURE(readCallback, ByUriparser, uriparser::read);

PaymentRequest request() {
  return PaymentRequest({.requestId = std::string(items[0].value),
                         .amount = Decimal::parse(items[1].value).value(),
                         .tip = Decimal::parse(items[5].value).value(),
                         .transactionType = PaymentTransactionType::sale,
                         .currency = std::string(items[3].value),
                         .callbackURL = URL::parse(items[4].value).value(),
                         .customId = std::string(items[6].value),
                         .notes = std::string(items[7].value),
                         .credentials = PaymentCredentials({.basicToken = std::string(items[8].value),
                                                            .accountId = std::string(items[9].value),
                                                            .environment = std::string(items[10].value)}),
                         .requiresReaderReady = true});
}

/// From the request record, amounts written out too.
void buildLinkByLibrary(benchmark::State& state) {
  const PaymentRequest record = request();
  const auto build = [&record] {
    detail::LinkItems list;
    detail::PaymentOperation::addItems(record, list);
    return writeLink(detail::PaymentOperation::texts.target, list.items());
  };
  const std::string text = build().value().absoluteString();
  require(text == hand::build(), "the library and the limit built different links");
  measure(state, text.size(), build);
}
BENCHMARK(buildLinkByLibrary);

/// From the twelve texts, as the limit and the peers do.
void buildLinkByLibraryFromTexts(benchmark::State& state) {
  const auto build = [] {
    detail::LinkItems list;
    for (const auto& [name, value] : items) list.add(name, value);
    return writeLink(detail::PaymentOperation::texts.target, list.items());
  };
  const std::string text = build().value().absoluteString();
  require(text == hand::build(), "the library and the limit built different links");
  measure(state, text.size(), build);
}
BENCHMARK(buildLinkByLibraryFromTexts);

void buildLink(benchmark::State& state, std::string (*build)()) { measure(state, build().size(), build); }
BENCHMARK_CAPTURE(buildLink, ByHand, hand::build);
BENCHMARK_CAPTURE(buildLink, ByBoostURL, boostURL::build);
BENCHMARK_CAPTURE(buildLink, ByUriparser, uriparser::build);

}  // namespace
}  // namespace tilvanego::bench
