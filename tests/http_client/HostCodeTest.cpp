#include <thread>

#include <tilvanego/http_client/SynchronizedDictionary.h>

#include "tests/http_client/TestClient.h"

namespace tilvanego::test {
namespace {

/// What host code throws here, and whether a failure holds it.
struct Thrown : std::runtime_error {
  Thrown() : std::runtime_error("of the host's") {}
};
[[noreturn]] void throwIt() { throw Thrown(); }

bool holdsIt(const Failure& failure) {
  const auto* cause = failure.as<ExceptionFailure>();
  if (cause == nullptr) return false;
  try {
    std::rethrow_exception(cause->exception());
  } catch (const Thrown&) {
    return failure.description() == "of the host's";
  } catch (...) {
    return false;
  }
}

/// Throws at one step of many.
struct Throws {
  std::string step;
  void operator()(const std::string& here) const {
    if (here == step) throwIt();
  }
};

/// A session of the host's, which throws at one step and else does what the one in memory does.
struct ThrowingSession final : URLSessionProtocol {
  struct ThrowingTask final : URLSessionDataTaskProtocol {
    ThrowingTask(std::shared_ptr<URLSessionDataTaskProtocol> itsTask, Throws itsStep)
        : task(std::move(itsTask)), at(std::move(itsStep)) {}
    void resume() override {
      at("resume");
      task->resume();
      at("resumed");
    }
    [[nodiscard]] int taskIdentifier() const override {
      at("identifier");
      return task->taskIdentifier();
    }
    [[nodiscard]] std::shared_ptr<Progress> progress() const override { return task->progress(); }
    void cancel() override {
      task->cancel();
      at("cancel");
    }
    std::shared_ptr<URLSessionDataTaskProtocol> task;
    Throws at;
  };

  ThrowingSession(std::shared_ptr<URLSessionProtocol> itsSession, Throws itsStep)
      : session(std::move(itsSession)), at(std::move(itsStep)) {}
  std::shared_ptr<URLSessionDataTaskProtocol> dataTaskFromProtocol(const URLRequest& request,
                                                                   DataTaskCompletion completion) override {
    at("task");
    return std::make_shared<ThrowingTask>(session->dataTaskFromProtocol(request, std::move(completion)), at);
  }
  std::shared_ptr<URLSessionProtocol> session;
  Throws at;
};

/// A kind of the host's, which throws at one step.
struct ThrowingKind final : URLSessionDecodableRequestBuilder {
  ThrowingKind(Construction construction, std::shared_ptr<URLSessionProtocol> itsSession, Throws itsStep)
      : URLSessionDecodableRequestBuilder(std::move(construction)),
        session(std::move(itsSession)),
        at(std::move(itsStep)) {}

  std::shared_ptr<URLSessionProtocol> createURLSession() override {
    at("session");
    return std::make_shared<ThrowingSession>(session, at);
  }
  Headers buildHeaders() override {
    at("headers");
    return {};
  }
  std::optional<URLCredential> credential() const override {
    at("credential");
    return {};
  }
  void cleanUp() override { at("cleanUp"); }
  void processRequestResponse(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                              const std::optional<Failure>& error, const Completion& completion) override {
    at("process");
    URLSessionDecodableRequestBuilder::processRequestResponse(exchange, response, error, completion);
    at("processed");
  }
  void retry(const URLSessionExchange& exchange, int code, const Failure& failure,
             const Completion& completion) override {
    at("ask");
    const Completion own = [completion](Result result) { completion(std::move(result)); };
    URLSessionDecodableRequestBuilder::retry(exchange, code, failure, own);
  }
  std::shared_ptr<URLSessionProtocol> session;
  Throws at;
};

std::string droppedLine(const std::string& callback) {
  return "TilvaneGo: " + callback +
         " threw tilvanego::test::(anonymous namespace)::Thrown; the exception is dropped.\n";
}

TEST(HostCode, WhatItThrowsIsAFailureWhereItAnswersAndDroppedWhereItListens) {
  struct Row {
    std::string step;
    bool succeedsElse;
    int code;
    bool isItsCause;
    /// The callback of the one line on standard error; none if empty.
    std::string dropped;
  };
  const std::string interceptor = "OpenAPIInterceptor::";
  const std::array<Row, 21> rows{{
      {"none", true, 0, false, ""},
      {"session", true, 415, true, ""},
      {"headers", true, 415, true, ""},
      {"intercept", true, 415, true, ""},
      {"intercepted", true, 0, false, interceptor + "intercept"},
      {"task", true, 415, true, ""},
      {"credential", true, 415, true, ""},
      {"identifier", true, 415, true, ""},
      {"progressReady", true, 0, false, "the onProgressReady of a request builder"},
      {"progress", true, 0, false, "an observer of a Progress"},
      {"willSend", true, 0, false, interceptor + "willSendRequest"},
      {"resume", true, -1, true, ""},
      {"resumed", true, -1, true, ""},
      {"cleanUp", true, 0, false, "URLSessionRequestBuilder::cleanUp"},
      {"didReceive", true, 0, false, interceptor + "didReceiveResponse"},
      {"process", true, 200, true, ""},
      {"processed", true, 0, false, "a step of a request builder"},
      {"didComplete", true, 0, false, interceptor + "didComplete"},
      {"ask", false, 500, false, ""},
      {"retry", false, 500, false, interceptor + "retry"},
      {"retried", false, 500, false, interceptor + "retry"},
  }};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.step);
    TestClient client({httpResponse(row.succeedsElse ? 200 : 500, Data("well"))});
    const Throws at{row.step};
    RequestBuilderArguments arguments{
        .method = "GET", .URLString = "https://host.example/a", .apiConfiguration = client.configuration};
    const RequestBuilderOf<std::string> builder(RequestBuilder::make<ThrowingKind>(
        bodyTypeOf<std::string>(), std::move(arguments), client.session.session, at));
    client.callAtEachMoment(*builder.pointer(), at);
    builder->setOnProgressReady([at](const std::shared_ptr<Progress>& progress) {
      at("progressReady");
      progress->addObserver([at](const Progress&) { at("progress"); });
    });
    testing::internal::CaptureStderr();
    const auto result = client.run(builder);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.dropped.empty() ? "" : droppedLine(row.dropped));
    EXPECT_EQ(result ? 0 : result.error().code(), row.code);
    EXPECT_EQ(!result && holdsIt(result.error().underlyingFailure()), row.isItsCause);
    EXPECT_EQ(std::ranges::count_if(client.interceptor->events,
                                    [](const auto& event) { return event.contains("completion"); }),
              1);
  }
}

TEST(HostCode, AQueueThatThrowsHasTheCompletionRunAtOnce) {
  class ThrowingQueue final : public MainQueue {
   public:
    void post(std::function<void()>) override { throwIt(); }
    [[nodiscard]] bool isCurrent() const override { return true; }
  } queue;
  TestClient client({httpResponse(500)});
  client.configuration->setApiResponseQueue(queue);
  int code = 0;
  client.builder<Empty>().execute([&](const auto& result) { code = result.error().code(); });
  testing::internal::CaptureStderr();
  client.session.session->deliver();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), droppedLine("MainQueue::post"));
  EXPECT_EQ(code, 500);
}

TEST(HostCode, WhatACompletionThrowsLeavesByTheHostsOwnCall) {
  TestClient client({httpResponse(200), httpResponse(200), httpResponse(500)});
  int completions = 0;
  const auto send = [&](bool throws) {
    client.builder<Empty>().execute([&, throws](const auto&) {
      ++completions;
      if (throws) throwIt();
    });
  };
  send(true);
  send(false);
  send(true);
  send(false);
  EXPECT_THROW(client.session.session->deliver(), Thrown);
  EXPECT_EQ(completions, 1);
  EXPECT_EQ(client.session.session->deliver(), 3U) << "the tasks behind it are still there";
  EXPECT_EQ(completions, 2);
  EXPECT_THROW(client.queue.runPending(), Thrown);
  EXPECT_EQ(client.queue.runPending(), 1U);
  EXPECT_EQ(completions, 4);
}

TEST(HostCode, AnAnswerInMemoryThatThrowsFailsItsTask) {
  const auto session =
      std::make_shared<MemoryURLSession>([](const URLRequest&) -> FakeResponse { throwIt(); });
  TestClient client({});
  client.useSession(session);
  int code = 0;
  client.builder<Empty>().execute([&](const auto& result) {
    code = result.error().code();
    EXPECT_TRUE(holdsIt(result.error().underlyingFailure()));
  });
  session->deliver();
  client.queue.runPending();
  EXPECT_EQ(code, ErrorResponse::transportFailed);
}

TEST(HostCode, ASessionInMemoryThatEndsLetsGoOfWhatWaits) {
  const auto held = std::make_shared<int>();
  auto session =
      std::make_unique<MemoryURLSession>([](const URLRequest&) { return FakeResponse::http(200); });
  std::vector<std::shared_ptr<URLSessionDataTaskProtocol>> tasks;
  const auto task = [&](auto completion) {
    tasks.push_back(session->dataTaskFromProtocol({}, std::move(completion)));
  };
  task([held](auto...) { FAIL() << "nobody delivers it"; });
  task([held, &tasks](auto...) { tasks.back()->resume(); });
  tasks[0]->cancel();
  session.reset();
  tasks[1]->resume();
  tasks.clear();
  EXPECT_EQ(held.use_count(), 1);

  session = std::make_unique<MemoryURLSession>([](const URLRequest&) { return FakeResponse::http(200); });
  int ended = 0;
  task([&](auto...) { session.reset(), ++ended; });
  task([&](auto...) { ++ended; });
  task([&, held](auto...) { ++ended; });
  for (const auto& each : tasks) each->resume();
  EXPECT_EQ(session->deliver(), 1U);
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(held.use_count(), 1) << "though the host holds the task";
}

TEST(HostCode, ASessionInMemoryKeepsAProgressAsAnotherDoes) {
  MemoryURLSession session([](const URLRequest&) { return FakeResponse::http(200, Data("body")); });
  std::vector<std::string> ends;
  const auto complete = [&](auto, auto response, auto error) {
    ends.push_back(response ? "response" : error->description());
  };
  const auto first = session.dataTaskFromProtocol({}, complete);
  const auto second = session.dataTaskFromProtocol({}, complete);
  session.dataTaskFromProtocol({}, nullptr)->resume();
  first->resume();
  second->progress()->cancel();
  EXPECT_EQ(session.deliver(), 3U);
  EXPECT_EQ(ends, (std::vector<std::string>{"response", "cancelled: cancelled"}));
  EXPECT_EQ(first->progress()->completedUnitCount(), 4);
  EXPECT_TRUE(first->progress()->isFinished());
}

TEST(HostCode, EveryObserverAndActionRunsThoughOneThrows) {
  testing::internal::CaptureStderr();
  int calls = 0;
  const auto throwing = [&] {
    ++calls;
    throwIt();
  };
  Progress progress;
  progress.addObserver([&](const Progress&) { throwing(); });
  progress.addObserver({});
  progress.addObserver([&](const Progress&) { ++calls; });
  progress.setCancellationHandler(throwing);
  progress.update(1, 2);
  progress.cancel();
  progress.setCancellationHandler(throwing);
  progress.setCancellationHandler({});
  EXPECT_EQ(calls, 6);
  const StopSource source;
  const StopCallback first(source.token(), throwing), empty(source.token(), {}),
      last(source.token(), throwing);
  EXPECT_TRUE(source.requestStop());
  const StopCallback late(source.token(), throwing);
  EXPECT_EQ(calls, 9);
  TestClient client({httpResponse(200)});
  ThrowingSession session(client.session.session, {"cancel"});
  RequestTask task;
  task.set(session.dataTaskFromProtocol({}, [](auto...) {}));
  task.cancel();
  EXPECT_EQ(task.get(), nullptr);
  const std::string lines = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::ranges::count(lines, '\n'), 8);
  EXPECT_TRUE(lines.ends_with(droppedLine("URLSessionDataTaskProtocol::cancel"))) << lines;
}

TEST(HostCode, AWaitEndsWithItsTaskThoughABlockOfTheLoopThrows) {
  TestClient client({httpResponse(500)});
  auto task = client.builder<Empty>().execute();
  client.queue.post(throwIt);
  client.queue.post([&] { client.session.session->deliver(); });
  client.queue.post(throwIt);
  testing::internal::CaptureStderr();
  EXPECT_THROW((void)std::move(task).wait(client.queue), Thrown);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), droppedLine("a block of the main queue"));
}

TEST(HostCode, NothingOfTheHostsEndsUnderALock) {
  int ends = 0;
  // A lock that is held while it ends holds it up for ever: it uses, on another thread, what held it.
  const auto holding = [&]<typename T>(T one, const std::function<void()>& use) {
    return std::shared_ptr<T>(new T(std::move(one)), [&ends, use](T* last) {
      std::thread(use).join();
      ++ends;
      delete last;
    });
  };

  Progress progress;
  const auto useProgress = [&] { progress.update(progress.completedUnitCount() + 1, 100); };
  const int observer = progress.addObserver([held = holding(1, useProgress)](const Progress&) {});
  progress.removeObserver(observer);
  progress.setCancellationHandler([held = holding(1, useProgress)] {});
  progress.setCancellationHandler({});
  EXPECT_EQ(ends, 2);

  const StopSource source;
  auto other = std::make_shared<StopCallback>(source.token(), [] {});
  const StopCallback last(source.token(), [held = std::exchange(other, nullptr)] {});
  const StopCallback elsewhere(source.token(), [held = holding(1, [&] { (void)source.stopRequested(); })] {});
  EXPECT_TRUE(source.requestStop());
  EXPECT_EQ(ends, 3);

  SynchronizedDictionary<int, std::shared_ptr<int>> dictionary;
  const auto useDictionary = [&] { (void)dictionary.value(1); };
  for (int i = 0; i < 3; ++i) dictionary.setValue(1, holding(1, useDictionary));
  dictionary.setValue(1, std::nullopt);
  dictionary.setValue(1, std::nullopt);
  EXPECT_EQ(ends, 6);

  TestClient client({httpResponse(200)});
  const auto builder = client.builder<Empty>();
  const auto useBuilder = [&] { builder->addHeader("a", "b"); };
  for (int i = 0; i < 2; ++i) {
    builder->setOnProgressReady([held = holding(1, useBuilder)](const auto&) {});
  }
  builder->updateOnProgressReady([](auto& ready) { ready = nullptr; });
  EXPECT_EQ(builder->onProgressReady(), nullptr);
  EXPECT_EQ(ends, 8);

  const auto useConfiguration = [&] { (void)client.configuration->basePath(); };
  for (int i = 0; i < 2; ++i) {
    client.configuration->setInterceptor(holding(DefaultOpenAPIInterceptor(), useConfiguration));
  }
  client.configuration->updateInterceptor([&](auto& one) { one = client.interceptor; });
  EXPECT_EQ(ends, 10);

  CodableHelper helper;
  const auto formatter = [&] {
    return holding(OpenISO8601DateFormatter(), [&] { (void)helper.jsonDecoder(); });
  };
  helper.setDateFormatter(formatter());
  helper.updateDateFormatter([](auto& one) { one = nullptr; });
  helper.setJsonDecoder({formatter()});
  helper.updateJsonDecoder([](JSONDecoder& decoder) { decoder.dateDecodingStrategy = nullptr; });
  helper.setJsonEncoder({.dateEncodingStrategy = formatter()});
  helper.setJsonEncoder({});
  EXPECT_EQ(ends, 13);
}

TEST(HostCode, ABuilderMayBeUsedAndLetGoInEveryHook) {
  for (const std::string moment :
       {"progressReady", "intercept", "willSend", "didReceive", "retry", "didComplete", "completion"}) {
    for (const std::string deed : {"let go", "cancel", "send again"}) {
      SCOPED_TRACE(moment + ": " + deed);
      TestClient client({httpResponse(500), httpResponse(200)});
      std::optional<RequestBuilderOf<std::string>> builder = client.builder<std::string>();
      int sends = 0, completions = 0;
      bool isDone = false;
      const auto count = [&](const auto&) { ++completions; };
      const auto at = [&](const std::string& here) {
        if (here != moment || std::exchange(isDone, true)) return;
        if (deed == "cancel") (*builder)->requestTask->cancel();
        if (deed == "send again") {
          ++sends;
          builder->execute(count);
        }
        if (deed == "let go") builder.reset();
      };
      const std::weak_ptr<RequestBuilder> watched = builder->pointer();
      client.callAtEachMoment(**builder, at);
      ++sends;
      (*builder).execute([&](const auto& result) {
        count(result);
        at("completion");
      });
      client.finish();
      EXPECT_TRUE(isDone);
      EXPECT_EQ(completions, sends);
      EXPECT_EQ(watched.expired(), deed == "let go");
    }
  }
}

}  // namespace
}  // namespace tilvanego::test
