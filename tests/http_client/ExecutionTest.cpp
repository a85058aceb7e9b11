#include <atomic>
#include <thread>

#include <tilvanego/json/JSONValue.h>

#include "tests/http_client/TestClient.h"
#include "tests/support/Test.h"
#include "tests/support/TestData.h"

namespace tilvanego::test {
namespace {

using Events = std::vector<std::string>;

struct Terminal {
  std::string name;
  std::optional<std::int64_t> number;
  static constexpr auto jsonFields() {
    return json::fields(json::field("name", &Terminal::name), json::field("number", &Terminal::number));
  }
  bool operator==(const Terminal&) const = default;
};

const Data someJSON(R"({"name":"till","number":7})");

template <typename Case>
bool isBuilderError(const Failure& failure) {
  const auto* error = failure.as<DecodableRequestBuilderError>();
  return error != nullptr && error->is<Case>();
}

template <DownloadException::Case which>
bool isDownloadException(const Failure& failure) {
  const auto* exception = failure.as<DownloadException>();
  return exception != nullptr && exception->value() == which;
}

template <typename Cause>
bool is(const Failure& failure) {
  return failure.as<Cause>() != nullptr;
}

struct FailureRow {
  std::string name;
  std::string url;
  FakeResponse answer;
  bool refused;
  int code;
  bool (*isCause)(const Failure&);
  std::string completedOn;
  bool hasData;
  bool hasResponse;
};

// The table of failures in docs/http-client.md.
TEST(Execution, EachFailureHasItsCodeCauseAndThread) {
  using Cases = DecodableRequestBuilderError;
  const std::string url = "https://host.example/a";
  const auto otherProtocol = std::make_shared<URLResponse>(std::nullopt);
  const auto missingURL = isDownloadException<DownloadException::requestMissingURL>;
  const auto noHTTP = isBuilderError<Cases::NilHTTPResponse>;
  const auto badStatus = isBuilderError<Cases::UnsuccessfulHTTPStatusCode>;
  const std::array<FailureRow, 8> rows{{
      {"no URL", "https://ho st/", {}, false, 415, missingURL, "main", false, false},
      {"refusal", url, {}, true, 415, is<TestFailure>, "main", false, false},
      {"transport",
       url,
       {Data("part"), {}, TestFailure{"lost"}},
       false,
       -1,
       is<TestFailure>,
       "main",
       true,
       false},
      {"no response", url, {Data("x"), {}, {}}, false, -2, noHTTP, "main", true, false},
      {"another protocol",
       url,
       {Data("x"), otherProtocol, TestFailure{"lost"}},
       false,
       -1,
       is<TestFailure>,
       "main",
       true,
       true},
      {"status 404", url, httpResponse(404, Data("lost")), false, 404, badStatus, "main", true, true},
      {"empty body", url, httpResponse(204), false, 204, isBuilderError<Cases::EmptyDataResponse>, "session",
       false, true},
      {"bad JSON", url, httpResponse(200, Data("{")), false, 200, is<JSONError>, "session", true, true},
  }};
  for (const FailureRow& row : rows) {
    SCOPED_TRACE(row.name);
    TestClient client({row.answer});
    if (row.refused) {
      client.interceptor->onIntercept = [](const URLRequest&, auto completion) {
        completion(std::unexpected(Failure(TestFailure{"refused"})));
      };
    }
    const auto result = client.run(client.builder<Terminal>({.method = "GET", .URLString = row.url}));
    ASSERT_FALSE(result);
    const ErrorResponse& error = result.error();
    EXPECT_EQ(error.code(), row.code);
    EXPECT_EQ(client.session.session->requests().empty(), row.code == ErrorResponse::requestRefused);
    EXPECT_TRUE(row.isCause(error.underlyingFailure())) << error.description();
    EXPECT_EQ(error.data(), row.hasData ? row.answer.data : std::nullopt);
    EXPECT_EQ(error.response(), row.hasResponse ? row.answer.response : nullptr);
    // The interceptor hears of the end first, on the thread where it came.
    const Events events = client.interceptor->takeEvents();
    EXPECT_EQ(events.back(), row.completedOn + ": completion");
    EXPECT_EQ(events.at(events.size() - 2).substr(events.at(events.size() - 2).find(' ') + 1),
              "didComplete " + error.underlyingFailure().description());
    EXPECT_EQ(client.interceptor->completedData.back(), error.data());
  }
}

TEST(Execution, MakesABodyOfEachType) {
  const auto bodyOf = []<typename T>(std::optional<Data> data) {
    TestClient client({httpResponse(200, std::move(data), {{"X-Answer", "yes"}})});
    auto result = client.run<T>();
    EXPECT_TRUE(result) << result.error().description();
    EXPECT_EQ(result->statusCode, 200);
    EXPECT_EQ(result->header, (ResponseHeader{{"X-Answer", "yes"}}));
    EXPECT_EQ(
        client.interceptor->takeEvents(),
        (Events{"main: intercept GET", "main: willSend GET",
                "session: didReceive " + std::string(result->bodyData ? result->bodyData->text() : "nothing"),
                "session: didComplete well", "session: completion"}));
    return std::pair(result->body, result->bodyData);
  };
  const auto check = [&]<typename T>(const std::optional<Data>& data, const T& body) {
    EXPECT_EQ(bodyOf.template operator()<T>(data), std::pair(body, data));
  };
  check(Data("caf\xC3\xA9"), std::string("caf\xC3\xA9"));
  check(Data("caf\xE9"), std::string());
  check(Data(), std::string());
  check(std::nullopt, std::string());
  check(Data("ignored"), Empty());
  check(std::nullopt, std::monostate());
  check(Data("\xFF"), Data("\xFF"));
  check(Data(), Data());
  check(Data("ab"), Bytes{'a', 'b'});
  check(someJSON, Terminal{"till", 7});
  check(Data("[1,2]"), std::vector<int>{1, 2});
  check(Data(R"({"a":true})"), std::map<std::string, bool>{{"a", true}});
  check(someJSON, std::optional(Terminal{"till", 7}));
  check(Data(), std::optional<Terminal>());
  check(std::nullopt, std::optional<Terminal>());
  check(Data("null"), std::optional<Terminal>());
  check(Data(), JSONValue());
  check(Data("[null]"), JSONValue::array({nullptr}));
}

TEST(Execution, AHeaderValueThatIsNoTextIsMissing) {
  TestClient client({httpResponse(200, Data(), {{"Good", "yes"}, {"Bad", "\xFF"}})});
  EXPECT_EQ(client.run<std::string>()->header, (ResponseHeader{{"Good", "yes"}}));
}

TEST(Execution, AHeaderFieldIsFoundWhateverItsCase) {
  for (const std::string_view written : {"Content-Type", "content-type", "CONTENT-TYPE"}) {
    TestClient client({httpResponse(200, Data(), {{"X_", "1"}, {written, "text/plain"}, {"x-Long", "2"}})});
    const auto header = client.run<std::string>()->header;
    ASSERT_EQ(header.size(), 3U);
    EXPECT_EQ(header.at("Content-Type"), "text/plain");
    EXPECT_EQ(header.find(std::string_view("cONTENT-tYPE"))->first, written) << "shown as it was written";
    EXPECT_TRUE(header.contains("X-LONG") && header.contains("x_") && !header.contains("x-lon"));
  }
}

TEST(Execution, MethodAndContentTypeChooseTheEncoding) {
  const Parameters texts{{"jsonData", "J"}, {"body", "B"}};
  const Parameters bytes{{"jsonData", Data("J")}, {"body", Data("B")}};
  const std::string url = "https://host.example/a";
  const std::string json = "application/problem+json; charset=utf-8";
  const std::string form = "application/x-www-form-urlencoded";
  const std::string octets = "application/octet-stream";
  struct Row {
    std::string method;
    RequestBuilder::Headers headers;
    Parameters parameters;
    std::string sentURL, sentBody, sentType;
  };
  const std::array<Row, 13> rows{{
      {"GET", {{"Content-Type", "text/plain"}}, texts, url + "?body=B&jsonData=J", "", "text/plain"},
      {"HEAD", {}, texts, url + "?body=B&jsonData=J", "", ""},
      {"POST", {}, bytes, url, "J", "application/json"},
      {"DELETE", {}, bytes, url, "J", "application/json"},
      {"TRACE", {}, bytes, url, "J", "application/json"},
      {"CONNECT", {}, bytes, url, "J", "application/json"},
      {"POST", {{"content-type", "text/plain"}}, bytes, url, "J", "text/plain"},
      {"POST", {{"Content-Type", json}}, bytes, url, "J", json},
      {"POST", {{"Content-Type", "application/xjsony"}}, bytes, url, "J", "application/xjsony"},
      {"POST", {{"Content-Type", form + "+json"}}, bytes, url, "J", form + "+json"},
      {"PUT", {{"Content-Type", form}}, texts, url, "body=B&jsonData=J", form},
      {"PATCH", {{"Content-Type", octets}}, bytes, url, "B", octets},
      {"OPTIONS", {{"Content-Type", "image/png"}}, bytes, url, "B", "image/png"},
  }};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.method + " " + row.sentType);
    TestClient client({httpResponse(200)});
    ASSERT_TRUE(client.run(client.builder<Empty>(
        {.method = row.method, .URLString = url, .parameters = row.parameters, .headers = row.headers})));
    const URLRequest sent = client.session.session->requests().at(0);
    EXPECT_EQ(sent.httpMethod, row.method);
    EXPECT_EQ(sent.timeoutInterval, 60);
    EXPECT_EQ(sent.url->absoluteString(), row.sentURL);
    EXPECT_EQ(sent.httpBody.value_or(Data()).text(), row.sentBody);
    EXPECT_EQ(sent.headers.value("Content-Type").value_or(""), row.sentType);
  }
}

/// Replaces steps as a host does.
class OwnSteps : public URLSessionDecodableRequestBuilder {
 public:
  using URLSessionDecodableRequestBuilder::URLSessionDecodableRequestBuilder;
  std::optional<std::string> contentTypeForFormPart(const URL& fileURL) override {
    return fileURL.path().ends_with("uuids.json") ? std::optional("image/own") : std::nullopt;
  }
  Headers buildHeaders() override { return {{"Own", "header"}}; }
};

TEST(Execution, AFactoryOfTheHostsHasItsOwnStepsTaken) {
  TestClient client({httpResponse(200)});
  client.configuration->setRequestBuilderFactory(
      std::make_shared<RequestBuilderFactoryWithSession<URLSessionRequestBuilder, OwnSteps>>(
          client.session.session));
  const auto file = URL::parse("file://" + testDataPath("uuids.json"));
  ASSERT_TRUE(
      client.run(client.builder<std::string>({.method = "POST",
                                              .URLString = "https://host.example/a",
                                              .parameters = Parameters{{"file", *file}},
                                              .headers = {{"Content-Type", "multipart/form-data"}}})));
  const URLRequest sent = client.session.session->requests().at(0);
  EXPECT_EQ(sent.headers.value("Own"), "header");
  EXPECT_NE(sent.httpBody->text().find("Content-Type: image/own\r\n"), std::string_view::npos);
}

TEST(Execution, ARequestThatCantBeBuiltIsToldTheInterceptorBareAndAtItsEndAlone) {
  TestClient client({httpResponse(200)});
  const auto result = client.run(
      client.builder<Empty>({.method = "PUT",
                             .URLString = "https://host.example/a?b",
                             .parameters = Parameters{{"body", *URL::parse("file:///nowhere/at/all")}},
                             .headers = {{"Content-Type", "application/octet-stream"}}}));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().code(), ErrorResponse::requestRefused);
  EXPECT_EQ(client.interceptor->takeEvents().size(), 2);
  EXPECT_FALSE(client.run(client.builder<Empty>({.method = "POST", .URLString = ""})));
  EXPECT_EQ(
      client.interceptor->completedRequests,
      (std::vector{URLRequest{.url = URL::parse("https://host.example/a?b").value(), .httpMethod = "PUT"},
                   URLRequest{.url = URL::parse("about:blank").value(), .httpMethod = "POST"}}));
  EXPECT_TRUE(client.session.session->requests().empty());
}

TEST(Execution, StatusesOfTheConfiguredRangeSucceed) {
  TestClient client({httpResponse(404, Data("x"))});
  client.configuration->setSuccessfulStatusCodeRange({200, 405});
  EXPECT_EQ(client.run<std::string>()->statusCode, 404);
}

TEST(Execution, ManySendsAtOnceEachCompleteOnce) {
  TestClient client({httpResponse(200, Data("x"))});
  client.configuration->setInterceptor(std::make_shared<DefaultOpenAPIInterceptor>());
  std::atomic<int> completions = 0;
  const auto builder = client.builder<std::string>();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i) {
        builder->setCredential(URLCredential{"user", std::to_string(i)});
        const auto task = builder.execute([&](const auto&) { ++completions; });
        if (i % 3 == 0) task->cancel();
        client.session.session->deliver();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  client.finish();
  EXPECT_EQ(completions, 400);
}

}  // namespace
}  // namespace tilvanego::test
