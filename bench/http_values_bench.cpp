// Checking a text against a pattern, beside PCRE2's JIT and beside ICU called by hand, both with what they
// compiled kept; and JSON of any shape into a `JSONValue` and back, beside nlohmann's `json`.

#include <benchmark/benchmark.h>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>
#include <pcre2.h>
#include <unicode/uregex.h>
#include <unicode/ustring.h>

#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/validation/Validator.h>

namespace {

using tilvanego::JSONValue;
using tilvanego::StringRule;
using tilvanego::Validator;
namespace json = tilvanego::json;

void require(bool holds) {
  if (!holds) std::abort();
}

/// A pattern and a text.
struct Search {
  std::string_view pattern;
  std::string_view text;
  bool isFound;
};

constexpr Search amount = {R"(^\d{1,9}\.?\d{0,2}$)", "123456789.12", true};
constexpr Search noAmount = {R"(^\d{1,9}\.?\d{0,2}$)", "123456789.1x", false};
constexpr Search reference = {R"(^[0-9a-zA-z-_\s]{1,100}$)", "Table 12, two coffees and a croissant", false};
constexpr Search slashed = {R"(/^[a-zA-Z0-9]{1,25}$/)", "A1b2C3d4E5f6G7h8I9j0K1l2M", false};
constexpr Search beyondASCII = {R"(^[\w\s]{1,100}$)", "Zwei Kaffee für Jürgen", true};

void searchOurs(benchmark::State& state, const Search& search) {
  const StringRule rule{.pattern = search.pattern};
  require(Validator::check(search.text, rule).empty() == search.isFound);
  for (auto _ : state) benchmark::DoNotOptimize(Validator::check(search.text, rule));
}

void searchPCRE2(benchmark::State& state, const Search& search) {
  int error = 0;
  PCRE2_SIZE offset = 0;
  const auto bytes = [](std::string_view text) { return reinterpret_cast<PCRE2_SPTR>(text.data()); };
  pcre2_code* const code = pcre2_compile(bytes(search.pattern), search.pattern.size(),
                                         PCRE2_CASELESS | PCRE2_UTF | PCRE2_UCP, &error, &offset, nullptr);
  require(code != nullptr && pcre2_jit_compile(code, PCRE2_JIT_COMPLETE) == 0);
  pcre2_match_data* const data = pcre2_match_data_create_from_pattern(code, nullptr);
  const auto find = [&] {
    return pcre2_match(code, bytes(search.text), search.text.size(), 0, 0, data, nullptr) >= 0;
  };
  require(find() == search.isFound);
  for (auto _ : state) benchmark::DoNotOptimize(find());
  pcre2_match_data_free(data);
  pcre2_code_free(code);
}

void searchICU(benchmark::State& state, const Search& search) {
  UErrorCode status = U_ZERO_ERROR;
  std::array<UChar, 256> units{};
  std::int32_t size = 0;
  const auto widen = [&](std::string_view text) {
    u_strFromUTF8(units.data(), static_cast<std::int32_t>(units.size()), &size, text.data(),
                  static_cast<std::int32_t>(text.size()), &status);
  };
  widen(search.pattern);
  URegularExpression* const regex =
      uregex_open(units.data(), size, UREGEX_CASE_INSENSITIVE, nullptr, &status);
  const auto find = [&] {
    widen(search.text);
    uregex_setText(regex, units.data(), size, &status);
    return uregex_find(regex, 0, &status) != 0;
  };
  require(find() == search.isFound && U_SUCCESS(status));
  for (auto _ : state) benchmark::DoNotOptimize(find());
  uregex_close(regex);
}

void checkWholeRule(benchmark::State& state) {
  const StringRule rule{.minLength = 1, .maxLength = 50, .pattern = amount.pattern};
  for (auto _ : state) benchmark::DoNotOptimize(Validator::check(amount.text, rule));
}
BENCHMARK(checkWholeRule);

#define TILVANEGO_SEARCHES(search)                \
  BENCHMARK_CAPTURE(searchOurs, search, search);  \
  BENCHMARK_CAPTURE(searchPCRE2, search, search); \
  BENCHMARK_CAPTURE(searchICU, search, search)
TILVANEGO_SEARCHES(amount);
TILVANEGO_SEARCHES(noAmount);
TILVANEGO_SEARCHES(reference);
TILVANEGO_SEARCHES(slashed);
TILVANEGO_SEARCHES(beyondASCII);

/// A list of responses as the HTTP interface gives them, `count` times some 470 bytes.
std::string responses(int count) {
  std::string text = "[";
  for (int i = 0; i < count; ++i) {
    if (i != 0) text += ',';
    text += R"({"transactionId":"txn_7f3c9a2e51d84b)" + std::to_string(10 + i % 90) +
            R"(","status":"APPROVED","amounts":{"total":"1248.50","gratuity":"12.00","currency":"USD"},)"
            R"("card":{"brand":"VISA","last4":"4242","expiryMonth":11,"expiryYear":2027,"present":true},)"
            R"("history":[{"action":"SALE","at":"2024-03-05T10:20:30.123Z"},)"
            R"({"action":"CAPTURE","at":"2024-03-05T10:21:30.123Z"}],)"
            R"("note":"Two coffees \u0026 a croissant","risk":0.17,"parent":null,"attempts":)" +
            std::to_string(i) + "}";
  }
  return text + "]";
}

void roundTripOurs(benchmark::State& state) {
  const std::string text = responses(static_cast<int>(state.range(0)));
  require(json::decode<JSONValue>(*json::encode(*json::decode<JSONValue>(text))) ==
          json::decode<JSONValue>(text));
  for (auto _ : state) {
    const auto value = json::decode<JSONValue>(text);
    auto written = json::encode(*value);
    benchmark::DoNotOptimize(written);
  }
  state.counters["bytes"] = static_cast<double>(text.size());
}

void roundTripNlohmann(benchmark::State& state) {
  const std::string text = responses(static_cast<int>(state.range(0)));
  // The same value: what one wrote reads as what the other wrote.
  require(json::decode<JSONValue>(nlohmann::json::parse(text).dump()) == json::decode<JSONValue>(text));
  for (auto _ : state) {
    const auto value = nlohmann::json::parse(text);
    auto written = value.dump();
    benchmark::DoNotOptimize(written);
  }
}
BENCHMARK(roundTripOurs)->Arg(5)->Arg(500);
BENCHMARK(roundTripNlohmann)->Arg(5)->Arg(500);

}  // namespace
