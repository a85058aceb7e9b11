// A callback with a list of 10,000 transactions: the whole of it, and its JSON alone beside simdjson's DOM,
// parsed and then copied into the same structs through the same key tables, amounts by the same conversion.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <tilvanego/facade/TilvaneGoSDK.h>

namespace tilvanego {
namespace {

using Transactions = std::vector<TilvaneGoTransaction>;

std::string listOf(int count) {
  std::string text = "[";
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    text += i == 0 ? "" : ",";
    text += R"({"amount":)" + number + R"(.25,"tip":1.5,"type":"SALE","customId":"order-)" + number;
    text +=
        R"(","notes":"Two coffees & a croissant","transactionDetails":{"status":"APPROVED","description":"Sale",)";
    text += R"("transactionId":"txn_7f3c9a2e51d8)" + number + R"(","timestamp":"2024-03-05T10:20:30Z",)";
    text += R"("approvedAmount":")" + number + R"(.25","requestedAmount":")" + number +
            R"(.25","authCode":"084511",)";
    text +=
        R"("processorMessage":"APPROVED 00","entryMode":"CONTACTLESS","cardBrand":"VISA","cardLast4":"4242"}})";
  }
  return text + "]";
}

URL callbackWith(const std::string& list) {
  const std::vector<QueryItem> items{
      {"request_id", "A-1001"}, {"status", "success"}, {"transactionList", list}};
  return URL::parse("myshop://done").value().replacingQueryItems(items).value();
}

void require(bool condition) {
  if (!condition) std::abort();
}

template <typename T>
void assign(simdjson::dom::element element, T& member);

template <typename Record, std::size_t index>
void assignField(simdjson::dom::element element, Record& record) {
  const auto field = std::get<index>(json::recordFields<Record>);
  using Member = std::remove_cvref_t<decltype(record.*field.member)>;
  if constexpr (std::is_same_v<Member, Decimal>) {
    record.*field.member = Decimal::fromDouble(element.get_double().value()).value();
  } else if constexpr (std::is_same_v<Member, std::optional<Decimal>>) {
    record.*field.member = Decimal::fromDouble(element.get_double().value());
  } else {
    assign(element, record.*field.member);
  }
}

template <typename T>
void assign(simdjson::dom::element element, T& member) {
  if constexpr (json::IsRecord<T>) {
    constexpr auto assigners = []<std::size_t... index>(std::index_sequence<index...>) {
      return std::array{&assignField<T, index>...};
    }(std::make_index_sequence<json::fieldCount<T>>());
    const simdjson::dom::object object = element.get_object().value();
    for (const auto& [key, value] : object) {
      const std::size_t field = json::detail::Description<T>::table.find(key);
      if (field < assigners.size() && !value.is_null()) assigners[field](value, member);
    }
  } else if constexpr (std::is_same_v<T, std::string>) {
    member = std::string_view(element.get_string().value());
  } else if constexpr (std::is_same_v<T, TilvaneGoTransactionType>) {
    member = transactionTypeFrom(element.get_string().value());
  } else if constexpr (HasRawText<T>) {
    member = fromRawText<T>(element.get_string().value()).value_or(T::unknownDefaultOpenApi);
  } else {
    assign(element, member.emplace());
  }
}

Transactions decodeBySimdjson(simdjson::dom::parser& parser, const simdjson::padded_string& text) {
  Transactions transactions;
  const simdjson::dom::array array = parser.parse(text).get_array().value();
  for (const simdjson::dom::element element : array) assign(element, transactions.emplace_back());
  return transactions;
}

void count(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void readCallback(benchmark::State& state) {
  const URL url = callbackWith(listOf(static_cast<int>(state.range(0))));
  const std::optional<URL> expected = URL::parse("myshop://done").value();
  for (auto _ : state) {
    const auto result = TilvaneGo::parseTransactionListResult(url, "A-1001", expected);
    require(result && std::holds_alternative<TransactionListResult::Success>(*result));
  }
  count(state, url.absoluteString().size());
}
BENCHMARK(readCallback)->Arg(100)->Arg(10'000);

void decodeByLibrary(benchmark::State& state) {
  const std::string text = listOf(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(json::decode<Transactions>(text));
  count(state, text.size());
}
BENCHMARK(decodeByLibrary)->Arg(100)->Arg(10'000);

void decodeBySimdjson(benchmark::State& state) {
  const std::string text = listOf(static_cast<int>(state.range(0)));
  const simdjson::padded_string padded(text);
  simdjson::dom::parser parser;
  require(json::decode<Transactions>(text).value() == decodeBySimdjson(parser, padded));
  for (auto _ : state) benchmark::DoNotOptimize(decodeBySimdjson(parser, padded));
  count(state, text.size());
}
BENCHMARK(decodeBySimdjson)->Arg(100)->Arg(10'000);

}  // namespace
}  // namespace tilvanego
