// Where each outcome of a request comes in, and as what.
#include <csignal>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/http_client/encodings/DownloadException.h>
#include <tilvanego/json/JSONError.h>

#include "tests/http_client/BuilderTest.h"
#include "tests/support/HTTPMessages.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/LoopbackSocket.h"

using namespace tilvanego;
using namespace tilvanego::test;

namespace {

using BuilderOutcomes = BuilderTest;
using BuilderCancel = BuilderTest;
using Texts = std::vector<std::string>;
using Notes = std::vector<std::string>;

struct Refusal {
  [[nodiscard]] std::string description() const { return "refused by the test"; }
};

template <typename Case, typename T>
bool isBuilderError(const T& told) {
  const auto* cause = told.template cause<DecodableRequestBuilderError>();
  return cause != nullptr && cause->template is<Case>();
}

}  // namespace

TEST_F(BuilderOutcomes, AFaultOfTheServerIsTheTransportsFailureOnTheQueue) {
  using Code = TransportError::Code;
  struct Case {
    std::function<Answer()> answer;
    Code code;
  };
  for (const auto& [answer, code] : {Case{closedBeforeHead, Code::networkConnectionLost},
                                     {closedInHead, Code::networkConnectionLost},
                                     {closedInBody, Code::networkConnectionLost},
                                     {resetInHead, Code::networkConnectionLost},
                                     {resetInBody, Code::networkConnectionLost},
                                     {closedInChunks, Code::networkConnectionLost},
                                     {brokenChunkSize, Code::badServerResponse},
                                     {notHTTP, Code::badServerResponse},
                                     {[] { return oversizedHead(400'000); }, Code::badServerResponse},
                                     {[] { return redirect("/"); }, Code::tooManyRedirects}}) {
    const LoopbackServer server([&](const ReceivedRequest&) { return answer(); });
    const auto told = send<std::string>("POST", server.url());
    EXPECT_EQ(told.code(), ErrorResponse::transportFailed);
    ASSERT_NE(told.cause<TransportError>(), nullptr);
    EXPECT_EQ(told.cause<TransportError>()->code, code) << told.error().description();
    EXPECT_EQ(told.where, Where::queue);
    EXPECT_EQ(interceptor->takeNotes(), (Notes{"intercept POST", "willSend", "didReceive failure", "retry",
                                               "didComplete failure", "completion"}));
  }
  const RefusingPort refusing;
  const auto told = send<std::string>("GET", "http://127.0.0.1:" + std::to_string(refusing.port()));
  EXPECT_EQ(told.code(), ErrorResponse::transportFailed);
  EXPECT_EQ(told.cause<TransportError>()->code, Code::cannotConnectToHost);
}

TEST_F(BuilderOutcomes, AStatusOutsideTheRangeIsTheCodeOnTheQueue) {
  const LoopbackServer server([](const ReceivedRequest& request) {
    return answer(std::stoi(request.path().substr(1)), "page", {{"X-Why", "because"}});
  });
  const auto path = [&](int status) { return server.url("/" + std::to_string(status)); };
  for (const int status : {300, 304, 400, 404, 418, 500, 503, 599, 999}) {
    const auto told = send<Texts>("GET", path(status));
    EXPECT_EQ(told.code(), status);
    EXPECT_TRUE(isBuilderError<DecodableRequestBuilderError::UnsuccessfulHTTPStatusCode>(told));
    ASSERT_TRUE(told.error().data());
    EXPECT_EQ(told.error().data()->text(), status == 304 ? "" : "page");
    EXPECT_NE(told.error().response(), nullptr);
    EXPECT_EQ(told.where, Where::queue);
  }
  for (const int status : {200, 201, 299}) {
    const auto told = send<std::string>("GET", path(status));
    ASSERT_EQ(told.code(), 0) << status;
    EXPECT_EQ(told.response().statusCode, status);
    EXPECT_EQ(told.response().body, "page");
    EXPECT_EQ(told.response().header.at("X-Why"), "because");
    EXPECT_EQ(told.where, Where::session);
  }
  configuration->setSuccessfulStatusCodeRange({404, 405});
  EXPECT_EQ(send<std::string>("GET", path(404)).code(), 0);
  EXPECT_EQ(send<std::string>("GET", path(200)).code(), 200);
}

TEST_F(BuilderOutcomes, ACompletionThatThrowsOnTheSessionsThreadEndsTheProcessByName) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto end = [this] {
    const LoopbackServer server([](const ReceivedRequest&) { return answer(200); });
    builder<std::string>("GET", server.url("/")).execute([](const auto&) {
      throw std::runtime_error("a secret");
    });
    queue.run();
  };
  EXPECT_EXIT(end(), testing::KilledBySignal(SIGABRT),
              "TilvaneGo: the completion of RequestBuilder::execute threw std::runtime_error on a thread of");
}

TEST_F(BuilderOutcomes, WhatABodyBecomesIsToldOnTheSessionsThread) {
  const LoopbackServer server([](const ReceivedRequest& request) {
    if (request.path() == "/nothing") return answer(204);
    if (request.path() == "/texts") return answer(200, R"(["a","b"])");
    return answer(200, "no JSON \xFF");
  });
  EXPECT_EQ(send<Texts>("GET", server.url("/texts")).response().body, (Texts{"a", "b"}));
  EXPECT_EQ(interceptor->takeNotes(),
            (Notes{"intercept GET", "willSend", "didReceive 200", "didComplete", "completion"}));
  EXPECT_EQ(send<std::string>("GET", server.url("/other")).response().body, "") << "no UTF-8";
  EXPECT_EQ(send<Data>("GET", server.url("/other")).response().body.text(), "no JSON \xFF");
  const auto empty = send<Empty>("DELETE", server.url("/other"));
  EXPECT_EQ(empty.response().bodyData->text(), "no JSON \xFF");
  EXPECT_EQ(send<std::optional<Texts>>("GET", server.url("/nothing")).response().body, std::nullopt);
  EXPECT_EQ(send<std::string>("GET", server.url("/nothing")).response().body, "");

  const auto undecodable = send<Texts>("GET", server.url("/other"));
  EXPECT_EQ(undecodable.code(), 200);
  EXPECT_NE(undecodable.cause<JSONError>(), nullptr) << undecodable.error().description();
  EXPECT_EQ(undecodable.where, Where::session);
  const auto nothing = send<Texts>("GET", server.url("/nothing"));
  EXPECT_EQ(nothing.code(), 204);
  EXPECT_TRUE(isBuilderError<DecodableRequestBuilderError::EmptyDataResponse>(nothing));
  EXPECT_FALSE(nothing.error().data());
  EXPECT_EQ(nothing.where, Where::session);
}

TEST_F(BuilderOutcomes, WhatCannotBeSentIsRefusedOnTheQueue) {
  const LoopbackServer server([](const ReceivedRequest&) { return answer(200); });
  const auto noURL = send<std::string>("GET", "http://[broken");
  EXPECT_EQ(noURL.code(), ErrorResponse::requestRefused);
  ASSERT_NE(noURL.cause<DownloadException>(), nullptr);
  EXPECT_EQ(*noURL.cause<DownloadException>(), DownloadException::requestMissingURL);
  EXPECT_EQ(noURL.where, Where::queue);
  EXPECT_EQ(interceptor->takeNotes(), (Notes{"didComplete failure", "completion"}));

  interceptor->change = [](const URLRequest&) { return std::unexpected(Failure(Refusal())); };
  const auto refused = send<std::string>("GET", server.url());
  EXPECT_EQ(refused.code(), ErrorResponse::requestRefused);
  EXPECT_NE(refused.cause<Refusal>(), nullptr);
  EXPECT_EQ(refused.where, Where::queue);
  EXPECT_EQ(interceptor->takeNotes(), (Notes{"intercept GET", "didComplete failure", "completion"}));
  EXPECT_EQ(server.receivedBytes(), "");
}

TEST_F(BuilderOutcomes, ARetryGoesThroughEveryStepAgainAndCompletesOnce) {
  const LoopbackServer server([](const ReceivedRequest& request) {
    if (request.header("X-Try") == "1") return resetInBody();
    return request.header("X-Try") == "2" ? answer(503) : answer(200, "third");
  });
  interceptor->retries = 5;
  int tries = 0;
  interceptor->change = [&](URLRequest request) {
    request.headers.setValue("X-Try", std::to_string(++tries));
    return request;
  };
  auto request = builder<std::string>("POST", server.url(), Parameters{{"amount", 5}},
                                      {{"Content-Type", "application/x-www-form-urlencoded"}});
  int progresses = 0;
  request->setOnProgressReady([&](const auto& progress) { progresses += progress != nullptr ? 1 : 0; });
  const auto told = send(request);
  EXPECT_EQ(told.response().body, "third");
  EXPECT_EQ(progresses, 3);
  EXPECT_EQ(interceptor->takeNotes(),
            (Notes{"intercept POST", "willSend", "didReceive failure", "retry", "intercept POST", "willSend",
                   "didReceive 503", "retry", "intercept POST", "willSend", "didReceive 200", "didComplete",
                   "completion"}));
  for (const auto& received : server.requests()) EXPECT_EQ(received.body, "amount=5");

  interceptor->retries = 3;
  tries = 0;
  interceptor->change = [](URLRequest unchanged) { return unchanged; };
  EXPECT_EQ(send<std::string>("GET", server.url()).code(), 0);
}

TEST_F(BuilderOutcomes, OneBuilderCanBeSentManyTimesAtOnce) {
  const LoopbackServer server([](const ReceivedRequest&) { return answer(200, "same"); });
  const auto request = builder<std::string>("GET", server.url());
  std::vector<std::shared_ptr<Told<std::string>>> all;
  for (int count = 0; count < 30; ++count) all.push_back(start(request));
  finish();
  for (const auto& told : all) EXPECT_EQ(told->response().body, "same");
}

TEST_F(BuilderCancel, EndsTheRequestAtEveryMoment) {
  LoopbackServer server([](const ReceivedRequest& request) {
    if (request.path() == "/head") return silenceInHead();
    return request.path() == "/body" ? silenceInBody() : silence();
  });
  const StuckPort stuck;
  const auto isCancelled = [](const auto& told) {
    return told->code() == ErrorResponse::transportFailed && told->template cause<TransportError>() &&
           told->template cause<TransportError>()->code == TransportError::Code::cancelled &&
           told->where == Where::queue;
  };

  const auto early = builder<std::string>("GET", server.url());
  early->requestTask->cancel();  // nothing is there to be cancelled yet

  // Before it is started: the interceptor is told of the task first.
  auto progressCancelled = builder<std::string>("GET", server.url());
  progressCancelled->setOnProgressReady([](const auto& progress) { progress->cancel(); });
  const auto before = start(progressCancelled);
  finish();
  EXPECT_TRUE(isCancelled(before));

  const auto connecting = builder<std::string>("GET", "http://127.0.0.1:" + std::to_string(stuck.port()));
  const auto whileConnecting = start(connecting);
  connecting->requestTask->cancel();
  finish();
  EXPECT_TRUE(isCancelled(whileConnecting));

  std::size_t holds = 0;
  for (const auto* path : {"/", "/head", "/body"}) {
    const auto request = builder<std::string>("POST", server.url(path));
    const auto told = start(request);
    server.waitForHolds(++holds);
    request->requestTask->cancel();
    request->requestTask->cancel();
    finish();
    EXPECT_TRUE(isCancelled(told)) << path;
  }
  EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(BuilderCancel, InTheCompletionChangesNothing) {
  const LoopbackServer server([](const ReceivedRequest&) { return answer(200, "done"); });
  const auto request = builder<std::string>("GET", server.url());
  std::promise<std::string> body;  // a second completion would throw
  request.execute([&](const auto& result) {
    request->requestTask->cancel();
    body.set_value(result ? result->body : "failed");
  });
  EXPECT_EQ(body.get_future().get(), "done");
}

TEST_F(BuilderCancel, ARequestToStopEndsTheAwaitedSend) {
  LoopbackServer server([](const ReceivedRequest&) { return silence(); });
  const StopSource early;
  early.requestStop();
  const auto codeOf = [&](const StopToken& token) {
    try {
      (void)builder<std::string>("GET", server.url()).execute(token).wait(queue);
    } catch (const ErrorResponse& error) {
      return error.code();
    }
    return 0;
  };
  EXPECT_EQ(codeOf(early.token()), ErrorResponse::notExecuted);
  EXPECT_EQ(server.connectionCount(), 0U);

  const StopSource late;
  std::thread stopper([&] {
    server.waitForHolds(1);
    late.requestStop();
  });
  EXPECT_EQ(codeOf(late.token()), ErrorResponse::transportFailed);
  stopper.join();
}
