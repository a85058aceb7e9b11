#include <thread>

#include "tests/http_client/TestClient.h"
#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

using Events = std::vector<std::string>;

TEST(Interceptor, TheInterceptorsRequestIsTheOneThatIsSent) {
  TestClient client({httpResponse(200)});
  client.interceptor->onIntercept = [](URLRequest request, auto completion) {
    request.headers.setValue("Signed", "yes");
    completion(request);
  };
  ASSERT_TRUE(client.run<Empty>());
  EXPECT_EQ(client.session.session->requests().at(0).headers.value("Signed"), "yes");
  EXPECT_EQ(client.interceptor->completedRequests.at(0).headers.value("Signed"), "yes");
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

TEST(Interceptor, TheInterceptorAloneBoundsTheRetries) {
  TestClient client({httpResponse(500)});
  int left = 100;
  client.interceptor->onRetry = [&](auto completion) {
    completion(left-- > 0 ? OpenAPIInterceptorRetry::retry : OpenAPIInterceptorRetry::dontRetry);
  };
  EXPECT_EQ(client.run<Empty>().error().code(), 500);
  EXPECT_EQ(client.session.session->requests().size(), 101);
}

TEST(Interceptor, ARetryMayBeAnsweredLaterOnAnotherThread) {
  TestClient client({httpResponse(500), httpResponse(200, Data("well"))});
  OpenAPIInterceptor::RetryCompletion answer;
  client.interceptor->onRetry = [&](auto completion) { answer = std::move(completion); };
  std::optional<std::string> body;
  client.builder<std::string>().execute([&](auto result) { body = result->body; });
  client.session.deliver();
  EXPECT_EQ(client.session.deliver(), 0);
  std::thread([&] { answer(OpenAPIInterceptorRetry::retry); }).join();
  client.session.deliver();
  EXPECT_EQ(body, "well");
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
