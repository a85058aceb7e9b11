#include <csignal>

#include "tests/http_client/TestClient.h"
#include "tests/support/Test.h"

namespace tilvanego {
namespace test {
struct Opaque {};
}  // namespace test

template <>
inline constexpr bool hasCustomBuilder<test::Opaque> = true;

namespace test {
namespace {

template <typename T>
void run(RequestBuilderArguments arguments, std::optional<Data> data = Data()) {
  TestClient client({httpResponse(200, std::move(data))});
  (void)client.run(client.builder<T>(std::move(arguments)));
}

RequestBuilderArguments request(std::string method, std::map<std::string, std::string> headers = {}) {
  return {.method = std::move(method), .URLString = "https://host.example/a", .headers = std::move(headers)};
}

TEST(FaultsOfTheProgramDeathTest, AnUnknownMethodEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(run<Empty>(request("get")), testing::KilledBySignal(SIGABRT),
              "URLSessionImplementations: Fatal error: Unsupported Http method - get\n");
  EXPECT_EXIT(run<Empty>(request("")), testing::KilledBySignal(SIGABRT), "Unsupported Http method - \n");
}

TEST(FaultsOfTheProgramDeathTest, AContentTypeThatNoEncodingServesEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const std::string type : {"text/plain", "Application/json", "application/xml", ""}) {
    EXPECT_EXIT(run<Empty>(request("POST", {{"Content-Type", type}})), testing::KilledBySignal(SIGABRT),
                "URLSessionImplementations: Fatal error: Unsupported Media Type - " + type + "\n");
  }
}

TEST(FaultsOfTheProgramDeathTest, ABodyTypeThatTheKindDoesntServeEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(run<Opaque>(request("GET")), testing::KilledBySignal(SIGABRT),
              "URLSessionImplementations: Fatal error: Unsupported Response Body Type - .*Opaque\n");
  const auto mixUpKinds = [] {
    TestClient client({httpResponse(200)});
    client.configuration->setRequestBuilderFactory(
        std::make_shared<
            RequestBuilderFactoryWithSession<URLSessionRequestBuilder, URLSessionRequestBuilder>>(
            client.session.session));
    (void)client.run<std::string>();
  };
  EXPECT_EXIT(mixUpKinds(), testing::KilledBySignal(SIGABRT),
              "Unsupported Response Body Type - std::.*basic_string");
  EXPECT_EXIT(run<Data>(request("GET"), std::nullopt), testing::KilledBySignal(SIGABRT),
              "Fatal error: No bytes for the response body type tilvanego::Data");
}

TEST(FaultsOfTheProgramDeathTest, AKindThatMakesAnotherBodyEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto misuse = [] {
    TestClient client({httpResponse(200)});
    (void)client.run(RequestBuilderOf<URL>(client.builder<std::string>().pointer()));
  };
  EXPECT_EXIT(misuse(), testing::KilledBySignal(SIGABRT), "Unsupported Response Body Type - tilvanego::URL");
}

TEST(FaultsOfTheProgramDeathTest, ACallThatMakesNoSenseEndsTheProcessWithWhatToMend) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto dies = [](auto call, const char* words) {
    EXPECT_EXIT(call(), testing::KilledBySignal(SIGABRT), words);
  };
  const auto constant = []() -> Task<int> { co_return 1; };
  dies(
      [] {
        TestClient client({httpResponse(200)});
        client.builder<Empty>().execute(RequestBuilderOf<Empty>::Completion());
      },
      "TilvaneGo: execute was given an empty completion");
  dies(
      [] {
        TestClient client({httpResponse(200)});
        client.builder<Empty>()->execute(RequestBuilder::Completion());
      },
      "TilvaneGo: execute was given an empty completion");
  dies(
      [&] {
        auto task = constant();
        (void)std::move(task).wait();
        (void)std::move(task).wait();
      },
      "TilvaneGo: a Task is awaited once");
  dies(
      [&] {
        auto task = constant();
        const auto taken = std::move(task);
        (void)std::move(task).wait();
      },
      "TilvaneGo: a Task is awaited once");
  const auto deleted = []<typename Builder>(const Builder& builder) {
    return !requires { builder.execute(nullptr); };
  };
  TestClient client({httpResponse(200)});
  EXPECT_TRUE(deleted(client.builder<Empty>()) && deleted(*client.builder<Empty>().pointer()));
}

}  // namespace
}  // namespace test
}  // namespace tilvanego
