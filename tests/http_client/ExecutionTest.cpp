#include <atomic>
#include <thread>

#include <tilvanego/json/JSONValue.h>

#include "tests/http_client/TestClient.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/TestData.h"
#include "tests/support/Threads.h"

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

template <typename Cause>
bool is(const Failure& failure) {
  return failure.as<Cause>() != nullptr;
}

struct FailureRow {
  std::string name, url;
  FakeResponse answer;
  int code;
  bool (*isCause)(const Failure&);
  std::string cause;
  std::string completedOn = "main";
};

// The table of failures in docs/http-client.md.
TEST(Execution, EachFailureHasItsCodeCauseAndThread) {
  const std::string url = "https://host.example/a";
  const auto otherProtocol = std::make_shared<URLResponse>(std::nullopt);
  const Failure lost = TestFailure{"lost"};
  const auto builderError = is<DecodableRequestBuilderError>;
  const std::array<FailureRow, 9> rows{{
      {"no URL",
       "https://ho st/",
       {},
       415,
       is<DownloadException>,
       "the request has no URL, or its text is none"},
      {"refusal", url, {}, 415, is<TestFailure>, "refused"},
      {"transport", url, {Data("part"), {}, lost}, -1, is<TestFailure>, "lost"},
      {"transport beside a response", url, {{}, otherProtocol, lost}, -1, is<TestFailure>, "lost"},
      {"no response", url, {Data("x"), {}, {}}, -2, builderError, "the answer is no HTTP response"},
      {"another protocol",
       url,
       {Data("x"), otherProtocol, {}},
       -2,
       builderError,
       "the answer is no HTTP response"},
      {"status 404", url, httpResponse(404, Data("lost")), 404, builderError,
       "the HTTP status says that the request didn't succeed"},
      {"empty body", url, httpResponse(204, std::nullopt), 204, builderError, "the answer has no body",
       "session"},
      {"bad JSON", url, httpResponse(200, Data("{")), 200, is<JSONError>,
       "the text ends inside a value (byte 1)", "session"},
  }};
  for (const FailureRow& row : rows) {
    SCOPED_TRACE(row.name);
    TestClient client({row.answer});
    if (row.name == "refusal") {
      client.interceptor->onIntercept = [](const URLRequest&, auto completion) {
        completion(std::unexpected(Failure(TestFailure{"refused"})));
      };
    }
    const auto result = client.run(client.builder<Terminal>({.method = "GET", .URLString = row.url}));
    ASSERT_FALSE(result);
    const ErrorResponse& error = result.error();
    EXPECT_EQ(error.code(), row.code);
    EXPECT_EQ(client.session.session->requests().empty(), row.code == ErrorResponse::requestRefused);
    EXPECT_TRUE(row.isCause(error.underlyingFailure()));
    EXPECT_EQ(error.underlyingFailure().description(), row.cause);
    EXPECT_EQ(error.data(), row.answer.data);
    EXPECT_EQ(error.response(), row.answer.response);
    // The interceptor hears of the end first, on the thread where it came.
    const Events events = client.interceptor->takeEvents();
    EXPECT_EQ(events.back(), row.completedOn + ": completion");
    EXPECT_TRUE(events.at(events.size() - 2).ends_with("didComplete " + row.cause));
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

TEST(Execution, AHeaderFieldIsFoundWhateverItsCaseIfItIsText) {
  for (const std::string_view written : {"Content-Type", "content-type", "CONTENT-TYPE"}) {
    TestClient client({httpResponse(
        200, Data(), {{"X_", "1"}, {written, "text/plain"}, {"x-Long", "2"}, {"Bad", "\xFF"}})});
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

TEST(Execution, ARequestHasTheBuildersLimitsElseTheConfigurationsAndOneDeadlineForAllTries) {
  using namespace std::chrono;
  TestClient client({httpResponse(503), httpResponse(200)});
  client.configuration->setLimits({.silence = 5s, .wholeRequest = 1h, .largestBody = 10});
  client.interceptor->onRetry = [](auto completion) { completion(OpenAPIInterceptorRetry::retry); };
  const auto before = steady_clock::now();
  ASSERT_TRUE(client.run(client.builder<Empty>({.method = "GET",
                                                .URLString = "https://host.example/a",
                                                .limits = {.silence = 1500ms, .followsRedirects = false}})));
  const auto requests = client.session.session->requests();
  ASSERT_EQ(requests.size(), 2);
  for (const auto& request : requests) {
    EXPECT_EQ(request.timeoutInterval, 1.5);
    EXPECT_EQ(request.maximumBodySize, 10);
    EXPECT_FALSE(request.followsRedirects);
    EXPECT_EQ(request.deadline, requests.front().deadline);
  }
  EXPECT_GE(requests.front().deadline, before + 1h);
  EXPECT_LE(requests.front().deadline, steady_clock::now() + 1h);

  // No limit at all, in both ways of saying it.
  for (const auto whole : {0ms, milliseconds::max()}) {
    client.configuration->setLimits({.wholeRequest = whole});
    client.builder<Empty>().execute([](const auto&) {});
    client.session.deliver();
    EXPECT_EQ(client.session.session->requests().back(),
              (URLRequest{.url = URL::parse("https://host.example/a").value()}));
  }
}

// From the second send on, a builder keeps what it made of its fields.
TEST(Execution, EachSendIsWhatANewBuilderWouldSend) {
  using namespace std::chrono_literals;
  TestClient client({httpResponse(200)});
  auto& configuration = *client.configuration;
  for (const std::string method : {"GET", "PUT"}) {
    RequestBuilderArguments arguments{.method = method,
                                      .URLString = "https://host.example/a?b=c",
                                      .parameters = Parameters{{"body", Data("x")}},
                                      .headers = {{"Content-Type", "application/octet-stream"}}};
    const auto builder = client.builder<Empty>(arguments);
    const std::function<void()> changes[] = {
        [] {},
        [] {},
        [] {},
        [&] { builder->addHeader("Till", "7"), arguments.headers["Till"] = "7"; },
        [&] { builder->setLimits(arguments.limits = {.silence = 5s}); },
        [&] { configuration.setLimits({.largestBody = 100, .followsRedirects = false}); },
        [&] { configuration.setCustomHeaders({{"Shop", "9"}}); },
        [&] { configuration.setLimits({}); },
        [&] { builder->setHeaders({}), arguments.headers = {}; },
        [&] { configuration.setCustomHeaders({}); }};
    for (const auto& change : changes) {
      change();
      // JSON, without its parameter, once the type is gone.
      ASSERT_TRUE(client.run(builder)) << method;
      ASSERT_TRUE(client.run(client.builder<Empty>(arguments))) << method;
      const auto sent = client.session.session->requests();
      EXPECT_EQ(sent[sent.size() - 2], sent.back()) << method << " " << &change - changes;
    }
  }
}

TEST(Execution, AWholeCallAllocatesLittle) {
  TestClient client({httpResponse(200, someJSON)});
  client.configuration->setInterceptor(std::make_shared<DefaultOpenAPIInterceptor>());
  const auto call = [&] {
    client
        .builder<Terminal>({.method = "GET",
                            .URLString = "https://terminal.example/v1/transactions",
                            .parameters = Parameters{{"account", "till 12"}, {"limit", 100}},
                            .headers = {{"Accept", "application/json"}, {"X-Request-Id", "A-1001"}}})
        .execute([](const auto& result) { EXPECT_TRUE(result); });
    client.session.session->deliver();
  };
  call();
  EXPECT_LE(allocationsOf(call), 40);
}

TEST(Execution, ManySendsAtOnceEachCompleteOnce) {
  TestClient client({httpResponse(200, Data("x"))});
  client.configuration->setInterceptor(std::make_shared<DefaultOpenAPIInterceptor>());
  std::atomic<int> completions = 0;
  const auto builder = client.builder<std::string>();
  inThreads(4, [&](int) {
    for (int i = 0; i < 100; ++i) {
      builder->setCredential(URLCredential{"user", std::to_string(i)});
      const auto task = builder.execute([&](const auto&) { ++completions; });
      if (i % 3 == 0) task->cancel();
      client.session.session->deliver();
    }
  });
  client.finish();
  EXPECT_EQ(completions, 400);
}

// The one that does nothing isn't called, and every other one is.
TEST(Interceptor, EachButTheDefaultOneIsAskedAndTold) {
  using Configuration = OstrelTilvanePoiModelsAPIConfiguration;
  struct OfTheHost : Configuration {
    using Configuration::Configuration;
    std::shared_ptr<OpenAPIInterceptor> interceptor() const override { return own; }
    std::shared_ptr<OpenAPIInterceptor> own;
  };
  const auto none = std::make_shared<DefaultOpenAPIInterceptor>();
  TestClient client({httpResponse(200)});
  const auto given = client.interceptor;
  const auto make = [&]<typename Kind>(Kind*, std::shared_ptr<OpenAPIInterceptor> interceptor) {
    return std::make_shared<Kind>("", Configuration::Headers(), std::nullopt,
                                  client.configuration->requestBuilderFactory(), client.queue,
                                  std::make_shared<CodableHelper>(), StatusCodeRange(), interceptor);
  };
  const auto events = [&](const std::shared_ptr<Configuration>& configuration) {
    client.configuration = configuration;
    EXPECT_TRUE(client.run<Empty>());
    return client.interceptor->takeEvents().size() - 1;
  };
  Configuration* const plain = nullptr;
  const auto configuration = make(plain, none);
  EXPECT_EQ(events(configuration), 0);
  EXPECT_EQ(events(make(plain, given)), 4);
  configuration->setInterceptor(given);
  EXPECT_EQ(events(configuration), 4);
  configuration->setInterceptor(none);
  EXPECT_EQ(events(configuration), 0);
  configuration->updateInterceptor([&](auto& interceptor) { interceptor = given; });
  EXPECT_EQ(events(configuration), 4);
  const auto ofTheHost = make(static_cast<OfTheHost*>(nullptr), none);
  ofTheHost->own = given;
  EXPECT_EQ(events(ofTheHost), 4);
}

TEST(Interceptor, AnInterceptorThatAnswersTwiceSendsAndCompletesOnce) {
  TestClient client({httpResponse(500)});
  client.interceptor->onIntercept = [](const URLRequest& request, auto completion) {
    completion(request);
    completion(request);
    completion(std::unexpected(Failure(TestFailure{"too late"})));
  };
  client.interceptor->onRetry = [retries = 3](auto completion) mutable {
    completion(OpenAPIInterceptorRetry::dontRetry);
    if (retries-- > 0) completion(OpenAPIInterceptorRetry::retry);
  };
  EXPECT_EQ(client.run<Empty>().error().code(), 500);
  EXPECT_EQ(client.session.session->requests().size(), 1);
  EXPECT_EQ(std::ranges::count(client.interceptor->events, "main: completion"), 1);
}

TEST(Interceptor, ARetryIsAFullNewPassWithWhatTheBuilderHasByThen) {
  TestClient client({{{}, {}, TestFailure{"lost"}}, httpResponse(503), httpResponse(200, Data("third"))});
  auto builder = client.builder<std::string>();
  int ready = 0;
  builder->setOnProgressReady([&](const std::shared_ptr<Progress>& progress) {
    EXPECT_FALSE(progress->isFinished());
    client.interceptor->note("progress " + std::to_string(++ready));
  });
  client.interceptor->onRetry = [&](auto completion) {
    builder->addHeader("Try", std::to_string(client.session.session->requests().size() + 1));
    completion(OpenAPIInterceptorRetry::retry);
  };
  const auto result = client.run(builder);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->body, "third");
  EXPECT_EQ(client.interceptor->takeEvents(),
            (Events{"main: intercept GET", "main: progress 1", "main: willSend GET",
                    "session: didReceive lost", "session: retry? lost", "session: intercept GET",
                    "session: progress 2", "session: willSend GET", "session: didReceive ",
                    "session: retry? the HTTP status says that the request didn't succeed",
                    "session: intercept GET", "session: progress 3", "session: willSend GET",
                    "session: didReceive third", "session: didComplete well", "session: completion"}));
  EXPECT_EQ(client.session.session->requests().at(0).headers.value("Try"), std::nullopt);
  EXPECT_EQ(client.session.session->requests().at(2).headers.value("Try"), "3");
}

// Each hook waits for another thread that uses everything that has a lock.
TEST(Interceptor, NoLockIsHeldWhileAHookRuns) {
  TestClient client({httpResponse(500)});
  const auto builder = client.builder<Empty>();
  int hooks = 0;
  const auto useFromElsewhere = [&](const auto&) {
    ++hooks;
    std::thread([&] {
      builder->addHeader("a", "b");
      builder->addCredential();
      builder->requestTask->set(builder->requestTask->get());
      client.configuration->updateBasePath([](std::string&) {});
      URLSessionRequestBuilderConfiguration::shared().credentialStore->setValue(0, std::nullopt);
    }).join();
  };
  client.callAtEachMoment(*builder.pointer(), useFromElsewhere);
  builder.execute(useFromElsewhere);
  client.finish();
  EXPECT_EQ(hooks, 9);
}

}  // namespace
}  // namespace tilvanego::test
