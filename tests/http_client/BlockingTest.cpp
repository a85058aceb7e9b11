// Requests that a thread sends itself and waits for.
#include <future>
#include <latch>

#include "tests/http_client/TestClient.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/Threads.h"

using namespace tilvanego;
using namespace tilvanego::test;

namespace {

/// A client on the network, whose queue nobody runs.
struct BlockingClient : TestClient {
  explicit BlockingClient(LoopbackServer::Handler handler) : TestClient({}), server(std::move(handler)) {
    useSession(std::make_shared<URLSession>(LoopbackServer::reaching()));
  }

  template <typename T>
  RequestBuilderOf<T> to(const std::string& path) {
    return builder<T>({.method = "GET", .URLString = server.url(path)});
  }

  const LoopbackServer server;
};

ServerResponse handled(const ReceivedRequest& request) {
  if (request.path() == "/held") return silence;
  if (request.path() == "/lost") return {"", End::reset};
  if (request.path() == "/none") return response(404, "nothing");
  return response(200, "5");
}

/// A builder class of the host, which sends more than the one request that it is asked for.
struct EagerKind final : URLSessionDecodableRequestBuilder {
  using URLSessionDecodableRequestBuilder::execute;
  EagerKind(Construction construction, std::shared_ptr<URLSessionProtocol> itsSession, bool itThrows)
      : URLSessionDecodableRequestBuilder(std::move(construction)),
        session(std::move(itsSession)),
        throws(itThrows) {}
  std::shared_ptr<RequestTask> execute(Completion completion) override {
    for (int tries = 0; tries < 3; ++tries) URLSessionDecodableRequestBuilder::execute(completion);
    if (throws) throw TestFailure{"eager"};
    return requestTask;
  }
  std::shared_ptr<URLSessionProtocol> createURLSession() override { return session; }
  std::shared_ptr<URLSessionProtocol> session;
  bool throws;
};

template <typename Result>
int codeOf(const Result& result) {
  return result ? result->statusCode : result.error().code();
}

}  // namespace

TEST(BlockingCall, ReturnsWhatACompletionGetsWithoutTheQueue) {
  BlockingClient client(handled);
  EXPECT_EQ(client.to<std::string>("/").send()->body, "5");
  EXPECT_EQ(client.interceptor->takeEvents(),
            (std::vector<std::string>{"main: intercept GET", "main: willSend GET", "main: didReceive 5",
                                      "main: didComplete well"}));
  EXPECT_EQ(codeOf(client.to<std::string>("/none").send()), 404);
  EXPECT_EQ(codeOf(client.to<std::string>("/lost").send()), ErrorResponse::transportFailed);
  EXPECT_EQ(codeOf(client.to<bool>("/").send()), 200);
  EXPECT_EQ(codeOf(client.builder<std::string>({.method = "GET", .URLString = "http://["}).send()),
            ErrorResponse::requestRefused);
  EXPECT_EQ(client.queue.runPending(), 0U);
  EXPECT_EQ(client.server.connectionCount(), 3U) << "one was lost, and one by its repetition";
}

TEST(BlockingCall, WaitsForAnInterceptorOnAnyThread) {
  BlockingClient client([tries = 0](const ReceivedRequest&) mutable {
    return ++tries % 3 == 0 ? response(200, std::to_string(tries)) : response(503);
  });
  std::mutex mutex;
  std::vector<std::future<void>> others;
  const auto elsewhere = [&](auto work) {
    const std::lock_guard held(mutex);
    others.push_back(std::async(std::launch::async, std::move(work)));
  };
  client.interceptor->onIntercept = [&](const URLRequest& request, auto completion) {
    elsewhere([request, completion] { completion(request); });
  };
  client.interceptor->onRetry = [&](auto completion) {
    elsewhere([completion] { completion(OpenAPIInterceptorRetry::retry); });
  };
  EXPECT_EQ(client.to<std::string>("/").send()->body, "3");
  client.interceptor->onIntercept = [&](const URLRequest&, auto completion) {
    elsewhere([completion] { completion(std::unexpected(Failure(TestFailure{"no"}))); });
  };
  EXPECT_EQ(codeOf(client.to<std::string>("/").send()), ErrorResponse::requestRefused);
  others.clear();
}

TEST(BlockingCall, RetriesWithoutGrowingItsStack) {
  BlockingClient client([tries = 0](const ReceivedRequest&) mutable {
    return ++tries == 3000 ? response(200, "at last") : response(503);
  });
  std::vector<const void*> frames;
  client.interceptor->onRetry = [&](auto completion) {
    // A sanitizer keeps the variables elsewhere.
    frames.push_back(__builtin_frame_address(0));
    completion(OpenAPIInterceptorRetry::retry);
  };
  EXPECT_EQ(client.to<std::string>("/").send()->body, "at last");
  EXPECT_EQ(frames.front(), frames.back());
}

TEST(BlockingCall, TakesWhatIsThrownAtAnyMomentAsACompletionDoes) {
  for (const auto& [moment, code] : std::map<std::string, int>{{"progressReady", 200},
                                                               {"intercept", 415},
                                                               {"intercepted", 200},
                                                               {"willSend", 200},
                                                               {"didReceive", 200},
                                                               {"didComplete", 200},
                                                               {"retry", 503},
                                                               {"retried", 503}}) {
    SCOPED_TRACE(moment);
    BlockingClient client([&](const ReceivedRequest&) { return response(code == 503 ? 503 : 200); });
    const auto builder = client.to<std::string>("/");
    client.callAtEachMoment(*builder, [&](const std::string& now) {
      if (now == moment) throw std::runtime_error("at a moment");
    });
    EXPECT_EQ(codeOf(builder.send()), code);
  }
}

TEST(BlockingCall, EndsOnceWhateverAllocationFails) {
  BlockingClient client(handled);
  client.configuration->setInterceptor(std::make_shared<DefaultOpenAPIInterceptor>());
  const auto builder = client.to<std::string>("/");
  EXPECT_EQ(codeOf(builder.send()), 200);
  testing::internal::CaptureStderr();  // hooks that had no memory are dropped, and named
  std::size_t passed = 0;
  for (bool hasCome = true; hasCome; ++passed) {
    failAllocation(passed + 1);
    int code = 0;
    try {
      code = codeOf(builder.send());
    } catch (const std::bad_alloc&) {
    }
    hasCome = failAllocation(0) == 0;
    if (!hasCome) {
      EXPECT_EQ(code, 200);
    }
  }
  testing::internal::GetCapturedStderr();
  EXPECT_GT(passed, 5U);
}

TEST(BlockingCall, LeavesTriesBeyondItsEndToTheSession) {
  BlockingClient client(handled);
  const auto session = std::make_shared<URLSession>(LoopbackServer::reaching());
  for (const bool throws : {false, true}) {
    const RequestBuilderArguments arguments{
        .method = "GET", .URLString = client.server.url("/"), .apiConfiguration = client.configuration};
    auto builder = RequestBuilder::make<EagerKind>(bodyTypeOf<Empty>(), arguments, session, throws);
    const std::weak_ptr<RequestBuilder> held(builder);
    if (throws) {
      EXPECT_THROW(static_cast<void>(builder->send()), TestFailure);
    } else {
      EXPECT_EQ(codeOf(builder->send()), 200);
    }
    builder = nullptr;
    while (!held.expired()) std::this_thread::yield();
  }
}

TEST(BlockingCall, IsStoppedBeforeAndDuringTheRequest) {
  for (const std::string moment : {"before", "intercept", "willSend", "held"}) {
    SCOPED_TRACE(moment);
    BlockingClient client(handled);
    const auto builder = client.to<std::string>("/held");
    const StopSource source;
    if (moment == "before") source.requestStop();
    client.callAtEachMoment(*builder, [&](const std::string& now) {
      if (now == moment) source.requestStop();
    });
    const auto stopper = std::async(std::launch::async, [&] {
      if (moment != "held") return;
      client.server.waitFor(&Counts::silences, 1);
      source.requestStop();
    });
    const auto result = builder.send(source.token());
    EXPECT_EQ(codeOf(result),
              moment == "before" ? ErrorResponse::notExecuted : ErrorResponse::transportFailed);
  }
}

TEST(BlockingCall, MaySendAgainInAnInterceptorAndInACompletion) {
  BlockingClient client(handled);
  const auto inner = client.to<std::string>("/");
  int inside = 0;
  client.interceptor->onReceive = [&](RequestBuilder& builder) {
    if (&builder != &*inner) inside += codeOf(inner.send());
  };
  EXPECT_EQ(client.to<std::string>("/").send()->body, "5");
  std::promise<int> ofCompletion;
  client.to<std::string>("/").execute([&](const auto&) { ofCompletion.set_value(codeOf(inner.send())); });
  EXPECT_EQ(ofCompletion.get_future().get(), 200);
  EXPECT_EQ(inside, 400);
}

TEST(BlockingCall, WaitsForASessionOfTheHost) {
  TestClient client({httpResponse(200, Data("5"))});
  const auto builder = client.builder<std::string>();
  std::latch sent(1);
  client.interceptor->onWillSend = [&](RequestBuilder&) { sent.count_down(); };
  inThreads(
      1, [&](int) { EXPECT_EQ(builder.send()->body, "5"); },
      [&] {
        sent.wait();
        while (client.session.deliver() == 0) std::this_thread::yield();
      });

  // A completion that nobody will ever call.
  client.interceptor->onIntercept = [](auto&&...) {};
  EXPECT_EQ(codeOf(builder.send()), ErrorResponse::notExecuted);
}

TEST(BlockingCall, IsWhatAWaitingThreadMakesOfAnAwaitedRequest) {
  BlockingClient client(handled);
  const auto here = std::this_thread::get_id();
  const auto inner = [](auto builder) -> Task<std::string> {
    const auto response = co_await builder.execute();
    co_return response.body;
  };
  const auto outer = [&](auto builder) -> Task<bool> {
    const auto body = co_await inner(builder);
    co_return body == "5" && std::this_thread::get_id() == here;
  };
  EXPECT_TRUE(outer(client.to<std::string>("/")).wait());
  EXPECT_THROW(client.to<std::string>("/none").execute().wait(), ErrorResponse) << "without the queue";
  // A task beside it is nobody's to wait for.
  const auto apart = [&](auto builder, std::promise<bool>& elsewhere) -> Task<void> {
    co_await builder.execute();
    elsewhere.set_value(std::this_thread::get_id() != here);
  };
  std::promise<bool> elsewhere;
  const auto starting = [&](auto builder) -> Task<bool> {
    detach(apart(builder, elsewhere));
    co_return co_await outer(builder);
  };
  EXPECT_TRUE(starting(client.to<std::string>("/")).wait());
  EXPECT_TRUE(elsewhere.get_future().get());
}

TEST(BlockingCall, SixteenThreadsSendBesideCompletions) {
  const char* const configured = std::getenv("TILVANEGO_BLOCKING_CALLS");
  const int perThread = (configured ? std::atoi(configured) : 3200) / 16;
  BlockingClient client([](const ReceivedRequest& request) -> ServerResponse {
    const auto path = request.path();
    const auto way = std::stoi(path.substr(1)) % 29;
    if (way == 0) return {"", End::reset};
    if (way == 1) return {halfBody, End::close};
    if (way == 2) return response(503, "busy");
    if (way == 3) return silence;
    return way == 4 ? redirect("/5") : response(200, path);
  });
  client.configuration->setInterceptor(std::make_shared<DefaultOpenAPIInterceptor>());
  std::atomic<int> right = 0, failed = 0, strange = 0, completed = 0;
  const auto count = [&](const std::string& path, int way, const auto& result) {
    if (result) {
      ++(way > 3 && result->body == (way == 4 ? "/5" : path) ? right : strange);
    } else {
      ++(way < 4 ? failed : strange);
    }
  };
  inThreads(
      16,
      [&](int thread) {
        for (int index = 0; index < perThread; ++index) {
          const int number = thread * perThread + index;
          const auto path = "/" + std::to_string(number);
          const auto builder = client.to<std::string>(path);
          if (number % 29 == 3) {
            const auto task = builder->requestTask;
            builder->setOnProgressReady([task](const auto& progress) { progress->cancel(); });
          }
          if (index % 4 == 0) {
            builder.execute([&, path, way = number % 29](const auto& result) {
              count(path, way, result);
              if (++completed == 16 * ((perThread + 3) / 4)) client.queue.stop();
            });
          } else {
            count(path, number % 29, builder.send());
          }
        }
      },
      [&] { client.queue.run(); });
  EXPECT_EQ(strange, 0);
  EXPECT_EQ(right + failed, 16 * perThread);
  EXPECT_GT(failed, perThread);
}
