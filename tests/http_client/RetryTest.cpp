// Retries by the library's policy, and chains of interceptors.
#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include <tilvanego/http_client/InterceptorChain.h>
#include <tilvanego/http_client/PauseTimer.h>
#include <tilvanego/http_client/RetryPolicy.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/network/URLSession.h>
#include <tilvanego/platform/memory/ScriptedRandomSource.h>

#include "tests/http_client/TestClient.h"
#include "tests/support/LoopbackServer.h"

namespace tilvanego::test {
namespace {

using namespace std::chrono;
using Code = TransportError::Code;

// Its pauses end when the test says so.
class PauseList final : public Timer {
 public:
  void after(milliseconds delay, std::function<void()> block) override {
    pauses.push_back(delay);
    blocks.push_back(std::move(block));
  }
  bool endPause() {
    if (blocks.empty()) return false;
    const auto block = std::move(blocks.front());
    blocks.pop_front();
    block();
    return true;
  }
  std::vector<milliseconds> pauses;
  std::deque<std::function<void()>> blocks;
};

FakeResponse lost(Code code) { return FakeResponse::failed(TransportError{code, ""}); }
FakeResponse busy(std::string_view retryAfter, std::string_view date = "") {
  HTTPHeaders headers{{"Retry-After", retryAfter}};
  if (!date.empty()) headers.setValue("Date", std::string(date));
  return httpResponse(503, Data(), headers);
}

struct Retries : testing::Test {
  // Without random bytes each pause has its full length.
  void usePolicy(RetryOptions options = {}) {
    options.timer = timer;
    if (!options.random) options.random = std::make_shared<ScriptedRandomSource>();
    policy = std::make_shared<RetryPolicy>(std::move(options));
  }
  std::shared_ptr<PauseList> timer = std::make_shared<PauseList>();
  std::shared_ptr<RetryPolicy> policy;
};

TEST_F(Retries, AreOfHarmlessRequestsThatFailedForAWhileAndBounded) {
  using Pauses = std::vector<milliseconds>;
  struct Case {
    const char* name;
    FakeResponse answer;
    Pauses pauses;
    RetryOptions options{};
    RequestBuilderArguments request{.method = "GET", .URLString = "https://host.example/a"};
  };
  RequestBuilderArguments sale{.method = "POST", .URLString = "https://host.example/a"};
  auto keyed = sale;
  keyed.headers = {{"idempotency-key", "A-1001"}};
  auto put = sale;
  put.method = "PUT";
  auto brief = put;
  brief.limits.wholeRequest = 100ms;
  const Pauses twice{500ms, 1000ms};
  const Case cases[] = {
      {"a status", httpResponse(503), twice},
      {"another status", httpResponse(404), {}},
      {"a status of the host's", httpResponse(404), twice, {.statuses = {404}}},
      {"a lost connection", lost(Code::networkConnectionLost), twice},
      {"silence", lost(Code::timedOut), twice},
      {"a cancelled task", lost(Code::cancelled), {}},
      {"a certificate", lost(Code::serverCertificateUntrusted), {}},
      {"no HTTP response", {}, {}},
      {"a failure of another session", FakeResponse::failed(TestFailure{"lost"}), {}},
      {"an idempotent method", httpResponse(503), twice, {}, put},
      {"a method that isn't", httpResponse(503), {}, {}, sale},
      {"a key", httpResponse(503), twice, {}, keyed},
      {"a key of another name", httpResponse(503), {}, {.keyField = "Key"}, keyed},
      {"no key at all", httpResponse(503), {}, {.keyField = ""}, keyed},
      {"every method", httpResponse(503), twice, {.retriesEveryMethod = true}, sale},
      {"one try", httpResponse(503), {}, {.tries = 1}},
      {"a bound", httpResponse(503), {300ms, 600ms, 700ms, 700ms}, {5, 300ms, 700ms}},
      {"seconds", busy("7"), {7500ms, 8000ms}},
      {"a date", busy("Sun, 06 Nov 1994 08:49:39 GMT", "Sun, 06 Nov 1994 08:49:37 GMT"), {2500ms, 3000ms}},
      {"a date that is over", busy("Sun, 06 Nov 1994 08:49:39 GMT"), twice},
      {"too long", busy("61"), {}},
      {"nonsense", busy("soon"), twice},
      {"no time left", httpResponse(503), {}, {}, brief},
      {"half of it",
       httpResponse(503),
       {250ms, 0ms},
       {.random = std::make_shared<ScriptedRandomSource>(Bytes{0x80, 0, 0, 0, 0, 0, 0, 1})}},
  };
  for (const auto& [name, answer, pauses, options, request] : cases) {
    SCOPED_TRACE(name);
    TestClient client({answer});
    usePolicy(options);
    timer->pauses.clear();
    client.configuration->setInterceptor(policy);
    int completions = 0;
    client.builder<Empty>(request).execute([&](const auto& result) {
      ++completions;
      EXPECT_FALSE(result);
    });
    do client.finish();
    while (timer->endPause());
    EXPECT_EQ(timer->pauses, pauses);
    EXPECT_EQ(client.session.session->requests().size(), pauses.size() + 1);
    EXPECT_EQ(completions, 1);
  }
}

// The moments of a request with one retry, each of which cancels it.
TEST_F(Retries, ACancelAtAnyMomentEndsTheRequestOnceAndAtOnce) {
  std::map<std::string, int> ends;
  constexpr std::size_t pause = 13;
  for (std::size_t moment = 0; moment <= pause; ++moment) {
    TestClient client({httpResponse(503), httpResponse(200)});
    usePolicy();
    client.configuration->setInterceptor(
        std::make_shared<InterceptorChain>(InterceptorChain::Interceptors{client.interceptor, policy}));
    const auto builder = client.builder<Empty>();
    std::string at;
    std::size_t number = 0;
    const auto pass = [&](const std::string& name) {
      if (number++ == moment) {
        at = name + " of try " + std::to_string(client.session.session->requests().size());
        builder->requestTask->cancel();
      }
    };
    client.callAtEachMoment(*builder, pass);
    std::vector<int> codes;
    builder.execute([&](const auto& result) { codes.push_back(result ? 0 : result.error().code()); });
    client.finish();
    if (moment == pause) {  // in the pause, in which no hook runs
      ASSERT_TRUE(codes.empty());
      builder->requestTask->cancel();
      client.finish();
      EXPECT_EQ(codes, std::vector{-1});
      EXPECT_EQ(client.session.session->requests().size(), 1);
    }
    while (timer->endPause()) client.finish();
    ASSERT_EQ(codes.size(), 1) << at;
    ends[at] = codes.front();
    EXPECT_EQ(builder.pointer().use_count(), 1) << at;
  }
  // Before there is a task, and after the last answer, there is nothing to cancel.
  EXPECT_EQ(ends, (std::map<std::string, int>{{"", -1},
                                              {"intercept of try 0", 0},
                                              {"progressReady of try 1", 0},
                                              {"willSend of try 1", -1},
                                              {"intercepted of try 1", -1},
                                              {"didReceive of try 1", 503},
                                              {"retry of try 1", 503},
                                              {"retried of try 1", -1},
                                              {"intercept of try 1", -1},
                                              {"progressReady of try 2", -1},
                                              {"willSend of try 2", -1},
                                              {"intercepted of try 2", -1},
                                              {"didReceive of try 2", 0},
                                              {"didComplete of try 2", 0}}));
}

TEST_F(Retries, ACancelEndsThePauseOfABlockingCall) {
  usePolicy();
  const auto session =
      std::make_shared<URLSession>(LoopbackServer::reaching());  // answers on the calling thread
  const LoopbackServer server([](const ReceivedRequest&) { return response(503); });
  TestClient client({});
  client.useSession(session);
  client.configuration->setInterceptor(policy);
  const auto builder = client.builder<Empty>({.method = "GET", .URLString = server.url()});
  std::atomic<bool> isOver = false;
  // The pause never ends by itself.
  std::thread cancelling([&] {
    server.waitFor(&Counts::requests, 1);
    while (!isOver) builder->requestTask->cancel();
  });
  EXPECT_FALSE(builder.send());
  isOver = true;
  cancelling.join();
}

TEST(InterceptorChain, CallsItsInterceptorsInOrder) {
  const auto first = std::make_shared<RecordingInterceptor>();
  const auto second = std::make_shared<RecordingInterceptor>();
  const auto sign = [](std::string mark) {
    return [mark](URLRequest request, const auto& completion) {
      request.headers.addValue("Signed", mark);
      completion(request);
      completion(std::unexpected(Failure(TestFailure{"too late"})));
    };
  };
  first->onIntercept = sign("1");
  second->onIntercept = sign("2");
  second->onRetry = [](const auto& completion) { completion(OpenAPIInterceptorRetry::retry); };
  TestClient client({httpResponse(503), httpResponse(200)});
  client.configuration->setInterceptor(
      std::make_shared<InterceptorChain>(InterceptorChain::Interceptors{first, second}));
  EXPECT_TRUE(client.run<Empty>());
  EXPECT_EQ(client.session.session->requests().at(1).headers.value("Signed"), "1, 2");
  EXPECT_EQ(first->completedRequests.at(0).headers.value("Signed"), "1, 2");
  const std::vector<std::string> events = {
      "main: intercept GET",    "main: willSend GET",
      "session: didReceive ",   "session: retry? the HTTP status says that the request didn't succeed",
      "session: intercept GET", "session: willSend GET",
      "session: didReceive ",   "session: didComplete well"};
  EXPECT_EQ(first->takeEvents(), events);
  EXPECT_EQ(second->takeEvents(), events);

  first->onIntercept = [](const auto&, const auto& completion) {
    completion(std::unexpected(Failure(TestFailure{"refused"})));
  };
  first->onRetry = second->onRetry;
  EXPECT_EQ(client.run<Empty>().error().code(), ErrorResponse::requestRefused);
  EXPECT_EQ(second->takeEvents(), std::vector<std::string>{"main: didComplete refused"});
}

TEST(InterceptorChainDeathTest, HasAsManyInterceptorsAsAStackCanHold) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  constexpr auto most = InterceptorChain::mostInterceptors;
  const auto chain = [](std::size_t count) {
    return std::make_shared<InterceptorChain>(
        InterceptorChain::Interceptors(count, std::make_shared<DefaultOpenAPIInterceptor>()));
  };
  TestClient client({httpResponse(503)});
  client.configuration->setInterceptor(chain(most));
  EXPECT_EQ(client.run<Empty>().error().code(), 503);
  EXPECT_EXIT(chain(most + 1), testing::KilledBySignal(SIGABRT), "takes at most 100 interceptors");
}

#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
TEST(PauseTimer, EndsPausesOfAForkedChildToo) {
  std::promise<void> ended;
  detail::PauseTimer::ofProcess()->after(0ms, [&] { ended.set_value(); });
  ended.get_future().wait();
  const auto child = fork();
  if (child == 0) {
    alarm(60);
    detail::PauseTimer::ofProcess()->after(0ms, [] { _exit(0); });
    for (;;) pause();
  }
  int status = 1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}
#endif

}  // namespace
}  // namespace tilvanego::test
