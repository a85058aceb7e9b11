#include <atomic>
#include <barrier>
#include <coroutine>
#include <thread>

#include "tests/http_client/TestClient.h"

namespace tilvanego::test {
namespace {

/// A coroutine of another make than the library's.
struct Foreign {
  struct promise_type {
    Foreign get_return_object() { return {}; }
    std::suspend_never initial_suspend() noexcept { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::terminate(); }
  };
};

struct Outcome {
  int ends = 0;
  /// 0 for a success.
  int code = 0;
  std::string cause;
  std::string body;
};

Foreign await(RequestBuilderOf<std::string> builder, StopToken token, Outcome& outcome) {
  try {
    auto sending = builder.execute(std::move(token));
    const Response<std::string> response = co_await std::move(sending);
    outcome.body = response.body;
  } catch (const ErrorResponse& error) {
    outcome.code = error.code();
    outcome.cause = error.underlyingFailure().description();
  }
  ++outcome.ends;
}

TEST(SuspendingExecute, StopsAtEveryMoment) {
  struct Row {
    std::string moment;
    int code;
    std::string cause;
    std::size_t requests;
  };
  const std::vector<Row> rows{
      {"before", -3, CancellationError().description(), 0},
      // There is no task to cancel yet.
      {"intercept", 0, "", 1},
      {"willSend", -1, "cancelled: cancelled", 1},
      {"suspended", -1, "cancelled: cancelled", 1},
      {"didReceive", 0, "", 1},
      {"after", 0, "", 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.moment);
    TestClient client({httpResponse(200, Data("well"))});
    const StopSource source;
    const auto stopAt = [&](const std::string& moment) {
      if (moment == row.moment) source.requestStop();
    };
    const auto builder = client.builder<std::string>();
    client.callAtEachMoment(*builder.pointer(), stopAt);
    Outcome outcome;
    stopAt("before");
    await(builder, source.token(), outcome);
    stopAt("suspended");
    client.finish();
    stopAt("after");
    EXPECT_EQ(outcome.ends, 1);
    EXPECT_EQ(outcome.code, row.code);
    EXPECT_EQ(outcome.cause, row.cause);
    EXPECT_EQ(outcome.body, row.code == 0 ? "well" : "");
    EXPECT_EQ(client.session.session->requests().size(), row.requests);
  }
}

// One thread stops while another delivers and a third one starts: whatever comes first, the call ends once.
TEST(SuspendingExecute, EndsOnceWhateverThreadIsFirst) {
  for (int round = 0; round < 300; ++round) {
    TestClient client({httpResponse(200, Data("x"))});
    client.configuration->setInterceptor(std::make_shared<DefaultOpenAPIInterceptor>());
    const StopSource source;
    Outcome outcome;
    std::barrier meeting(3);
    std::thread starter([&] {
      meeting.arrive_and_wait();
      await(client.builder<std::string>(), source.token(), outcome);
    });
    std::thread stopper([&] {
      meeting.arrive_and_wait();
      source.requestStop();
    });
    std::thread deliverer([&] {
      meeting.arrive_and_wait();
      for (int i = 0; i < 20; ++i) client.session.session->deliver();
    });
    starter.join();
    stopper.join();
    deliverer.join();
    client.finish();
    ASSERT_EQ(outcome.ends, 1);
    ASSERT_TRUE(outcome.code == 0 || outcome.code == -1 || outcome.code == -3) << outcome.code;
  }
}

/// A kind of a host's own that sends nothing.
class Refusing : public URLSessionDecodableRequestBuilder {
 public:
  using RequestBuilder::execute;
  using URLSessionDecodableRequestBuilder::URLSessionDecodableRequestBuilder;
  std::shared_ptr<RequestTask> execute(Completion) override { throw std::range_error("no signature"); }
};

TEST(SuspendingExecute, AnotherExceptionIsWithinReachInTheErrorResponse) {
  TestClient client({httpResponse(200)});
  client.configuration->setRequestBuilderFactory(
      std::make_shared<RequestBuilderFactoryWithSession<URLSessionRequestBuilder, Refusing>>(
          client.session.session));
  try {
    (void)client.builder<std::string>().execute().wait();
    FAIL();
  } catch (const ErrorResponse& error) {
    EXPECT_EQ(error.code(), ErrorResponse::notExecuted);
    EXPECT_EQ(error.underlyingFailure().description(), "no signature");
    const auto* cause = error.underlyingFailure().as<ExceptionFailure>();
    ASSERT_NE(cause, nullptr);
    EXPECT_THROW(std::rethrow_exception(cause->exception()), std::range_error);
  }
}

Task<void> note(RequestBuilderOf<std::string> builder, bool& resumed) {
  auto sending = builder.execute();
  try {
    (void)co_await std::move(sending);
  } catch (const ErrorResponse&) {
  }
  resumed = true;
}

TEST(SuspendingExecute, ACallThatIsDroppedAtAnyMomentIsNotResumed) {
  for (const std::string moment : {"progressReady", "intercept", "willSend", "suspended", "didReceive",
                                   "didComplete", "delivered", "never"}) {
    SCOPED_TRACE(moment);
    TestClient client({httpResponse(500)});
    bool resumed = false;
    const auto builder = client.builder<std::string>();
    std::optional<Task<void>> call = note(builder, resumed);
    const auto dropAt = [&](const std::string& here) {
      if (here == moment) call.reset();
    };
    client.callAtEachMoment(*builder.pointer(), dropAt);
    // Begun by hand, as an awaiting coroutine would, which then goes away with its call.
    auto awaiter = std::move(*call).operator co_await();
    awaiter.await_suspend(std::noop_coroutine()).resume();
    EXPECT_EQ(client.session.session->requests().size(), 1);
    dropAt("suspended");
    client.session.deliver();
    dropAt("delivered");
    client.finish();
    EXPECT_EQ(resumed, moment == "never");
  }
}

TEST(SuspendingExecute, ATaskNobodyAwaitsSendsNothing) {
  TestClient client({httpResponse(200)});
  {
    const auto task = client.builder<std::string>().execute();
  }
  EXPECT_TRUE(client.session.session->requests().empty());
}

#ifdef __cpp_lib_jthread
TEST(SuspendingExecute, TakesAStandardStopToken) {
  TestClient client({httpResponse(200)});
  std::stop_source source;
  Outcome outcome;
  await(client.builder<std::string>(), source.get_token(), outcome);
  source.request_stop();
  client.finish();
  EXPECT_EQ(outcome.code, ErrorResponse::transportFailed);
  Outcome late;
  await(client.builder<std::string>(), source.get_token(), late);
  EXPECT_EQ(late.code, ErrorResponse::notExecuted);
}
#endif

TEST(Task, WaitBlocksUntilAnotherThreadEndsTheWorkAndDrainsItsLoop) {
  TestClient client({httpResponse(200, Data("well")), httpResponse(500)});
  std::atomic<bool> done = false;
  std::thread session([&] {
    while (!done) client.session.session->deliver();
  });
  EXPECT_EQ(client.builder<std::string>().execute().wait().body, "well");
  // The failure comes in on the loop itself.
  EXPECT_THROW((void)client.builder<std::string>().execute().wait(client.queue), ErrorResponse);
  done = true;
  session.join();
}

}  // namespace
}  // namespace tilvanego::test
