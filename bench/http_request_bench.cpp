// From a call's arguments to the request that goes to the session, and a whole call over a session in memory,
// beside the same request put together by hand: text appended to text, nothing checked, nothing to replace.

#include <any>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <tilvanego/http_client/RequestBuilderWithSession.h>
#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/http_client/coding/JSONEncodingHelper.h>
#include <tilvanego/http_client/encodings/JSONDataEncoding.h>
#include <tilvanego/http_client/encodings/URLEncoding.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/network/MemoryURLSession.h>

#include "allocations.h"

namespace tilvanego::bench {
namespace {

const std::string base = "https://terminal.example/v1/transactions";
constexpr std::array<std::pair<const char*, const char*>, 6> query{{{"account", "till 12"},
                                                                    {"currency", "EUR"},
                                                                    {"from", "2024-03-05T10:20:30+01:00"},
                                                                    {"limit", "100"},
                                                                    {"status", "approved"},
                                                                    {"to", "2024-03-06"}}};
constexpr std::array<std::pair<const char*, const char*>, 3> fields{
    {{"Accept", "application/json"},
     {"Authorization", "Bearer 0123456789abcdef"},
     {"X-Request-Id", "A-1001"}}};

struct Sale {
  std::string requestId = "A-1001";
  std::string amount = "12.50";
  std::string currency = "EUR";
  std::optional<std::string> note = "two coffees, one \"to go\"";
  std::int64_t till = 12;
  static constexpr auto jsonFields() {
    return json::fields(json::field("requestId", &Sale::requestId), json::field("amount", &Sale::amount),
                        json::field("currency", &Sale::currency), json::field("note", &Sale::note),
                        json::field("till", &Sale::till));
  }
};

std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration> configuration(
    const std::shared_ptr<URLSessionProtocol>& session) {
  const auto helper = std::make_shared<CodableHelper>();
  helper->updateJsonEncoder([](JSONEncoder& encoder) { encoder.prettyPrinted = false; });
  std::shared_ptr<RequestBuilderFactory> factory = std::make_shared<URLSessionRequestBuilderFactory>();
  if (session) factory = std::make_shared<RequestBuilderFactoryWithSession<>>(session);
  return std::make_shared<OstrelTilvanePoiModelsAPIConfiguration>(
      base, RequestBuilder::Headers(), std::nullopt, factory, RunLoop::main(), helper, StatusCodeRange(),
      std::make_shared<DefaultOpenAPIInterceptor>());
}

RequestBuilderArguments arguments(const std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration>& client,
                                  std::string method, std::optional<Parameters> parameters) {
  return {.method = std::move(method),
          .URLString = base,
          .parameters = std::move(parameters),
          .headers = RequestBuilder::Headers(fields.begin(), fields.end()),
          .apiConfiguration = client};
}

Parameters queryParameters() { return {query.begin(), query.end()}; }

/// The request, as the interceptor would get it.
URLRequest build(RequestBuilderArguments given, HTTPMethod method, const ParameterEncoding& encoding) {
  const auto builder = makeRequestBuilder<std::string>(std::move(given));
  auto& steps = static_cast<URLSessionRequestBuilder&>(*builder);
  return steps.createURLRequest(steps.createURLSession(), method, encoding, {}).value();
}

template <typename Work>
void measure(benchmark::State& state, Work work) {
  const std::size_t before = allocations();
  for (auto _ : state) {
    auto done = work();
    benchmark::DoNotOptimize(done);
  }
  state.counters["allocations"] =
      benchmark::Counter(static_cast<double>(allocations() - before), benchmark::Counter::kAvgIterations);
}

void buildQuery(benchmark::State& state) {
  const auto client = configuration(nullptr);
  const URLEncoding encoding;
  measure(state,
          [&] { return build(arguments(client, "GET", queryParameters()), HTTPMethod::get, encoding); });
}
BENCHMARK(buildQuery);

void buildBody(benchmark::State& state) {
  const auto client = configuration(nullptr);
  const JSONDataEncoding encoding;
  const std::optional<Sale> sale(std::in_place);
  measure(state, [&] {
    auto parameters = JSONEncodingHelper::encodingParameters(sale, *client->codableHelper());
    return build(arguments(client, "POST", std::move(parameters)), HTTPMethod::post, encoding);
  });
}
BENCHMARK(buildBody);

void wholeCall(benchmark::State& state) {
  const Data response(R"({"requestId":"A-1001","amount":"12.50","currency":"EUR","till":12})");
  std::shared_ptr<MemoryURLSession> session;
  std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration> client;
  std::size_t calls = 0;
  measure(state, [&] {
    // The session keeps every request that it was given.
    if (calls++ % 1024 == 0) {
      session = std::make_shared<MemoryURLSession>(
          [&](const URLRequest&) { return MemoryURLSession::Result::http(200, response); });
      client = configuration(session);
    }
    std::int64_t till = 0;
    makeRequestBuilder<Sale>(arguments(client, "GET", queryParameters())).execute([&](const auto& result) {
      till = result->body.till;
    });
    session->deliver();
    if (till != 12) std::abort();
    return till;
  });
}
BENCHMARK(wholeCall);

struct HandRequest {
  std::string method;
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
};

bool staysInQuery(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~!$'()*+,;:@/?").find(c) != std::string_view::npos;
}

void appendEscaped(std::string& target, std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  for (const char c : text) {
    if (staysInQuery(c)) {
      target += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      target += {'%', digits[byte >> 4U], digits[byte & 15U]};
    }
  }
}

HandRequest handRequest(std::string method) {
  HandRequest request{std::move(method), base, {fields.begin(), fields.end()}, {}};
  request.url.reserve(256);
  return request;
}

void handQuery(benchmark::State& state) {
  measure(state, [] {
    HandRequest request = handRequest("GET");
    char separator = '?';
    for (const auto& [name, value] : query) {
      request.url += std::exchange(separator, '&');
      appendEscaped(request.url, name);
      request.url += '=';
      appendEscaped(request.url, value);
    }
    return request;
  });
}
BENCHMARK(handQuery);

void appendQuoted(std::string& target, std::string_view text) {
  target += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') target += '\\';
    target += c;
  }
  target += '"';
}

void handBody(benchmark::State& state) {
  const Sale sale;
  measure(state, [&] {
    HandRequest request = handRequest("POST");
    request.headers.emplace_back("Content-Type", "application/json");
    std::string& body = request.body;
    body.reserve(256);
    for (const auto& [key, text] :
         {std::pair<std::string_view, std::string_view>{"{\"requestId\":", sale.requestId},
          {",\"amount\":", sale.amount},
          {",\"currency\":", sale.currency},
          {",\"note\":", *sale.note}}) {
      body += key;
      appendQuoted(body, text);
    }
    body += ",\"till\":" + std::to_string(sale.till) + "}";
    return request;
  });
}
BENCHMARK(handBody);

}  // namespace
}  // namespace tilvanego::bench
