// Servers that break what they begin, and ends that the host brings about.
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/network/SessionTest.h"
#include "tests/support/HTTPMessages.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/LoopbackSocket.h"

using namespace tilvanego;
using namespace tilvanego::test;
using Code = TransportError::Code;

namespace {

using SessionFaults = SessionTest;
using SessionCancel = SessionTest;

ServerResponse chunked(std::string_view bytes) {
  return sent(headOf(200, {{"Transfer-Encoding", "chunked"}}) + std::string(bytes))
      .then(ServerResponse::Hold{});
}

std::string localURL(std::uint16_t port, std::string_view scheme = "http") {
  return std::string(scheme) + "://127.0.0.1:" + std::to_string(port) + "/";
}

}  // namespace

TEST_F(SessionFaults, EachFaultOfAServerIsToldByItsCode) {
  struct Case {
    const char* name;
    std::function<ServerResponse()> response;
    Code code;
    bool hasResponse;
  };
  const std::vector<Case> cases{
      {"closed before the head", closedBeforeHead, Code::networkConnectionLost, false},
      {"closed in the head", closedInHead, Code::networkConnectionLost, false},
      {"closed in the body", closedInBody, Code::networkConnectionLost, true},
      {"closed in the chunks", closedInChunks, Code::networkConnectionLost, true},
      {"reset before the head", resetBeforeHead, Code::networkConnectionLost, false},
      {"reset in the head", resetInHead, Code::networkConnectionLost, false},
      {"reset in the body", resetInBody, Code::networkConnectionLost, true},
      {"a chunk of no size", brokenChunkSize, Code::badServerResponse, true},
      {"a chunk of a size beyond all numbers", [] { return chunked("FFFFFFFFFFFFFFFFF\r\nx"); },
       Code::badServerResponse, true},
      {"chunks without line breaks", [] { return chunked("1\r\nxx1\r\nx"); }, Code::badServerResponse, true},
      {"a trailer without end", [] { return chunked("0\r\nX: " + std::string(300'000, 'x')); },
       Code::badServerResponse, true},
      {"trailers without end",
       [] {
         std::string trailers = "1\r\nx\r\n0\r\n";
         for (int count = 0; count < 20'000; ++count) trailers += "X: y\r\n";
         return chunked(trailers);
       },
       Code::badServerResponse, true},
      {"closed after an interim head", [] { return sent(headOf(103, {})).then(ServerResponse::Close{}); },
       Code::networkConnectionLost, false},
      {"closed in the head after an interim one",
       [] { return sent(headOf(100, {}) + "HTTP/1.1 200 To").then(ServerResponse::Close{}); },
       Code::networkConnectionLost, false},
      {"not HTTP", notHTTP, Code::badServerResponse, false},
      {"two lengths",
       [] { return sent("HTTP/1.1 200 OK\r\nContent-Length: 3\r\nContent-Length: 5\r\n\r\nhello"); },
       Code::badServerResponse, false},
      {"a field of 90 KB", [] { return response(200, {}, {{"X", std::string(90'000, 'x')}}); },
       Code::badServerResponse, false},
      {"a field of 150 KB", [] { return response(200, {}, {{"X", std::string(150'000, 'x')}}); },
       Code::badServerResponse, false},
      {"interim heads without end",
       [] {
         std::string heads;
         for (int count = 0; count < 10'000; ++count) heads += headOf(103, {{"Link", "</x>"}});
         return sent(heads).then(ServerResponse::Hold{});
       },
       Code::badServerResponse, false},
      {"not compressed as it says", [] { return response(200, "plain", {{"Content-Encoding", "gzip"}}); },
       Code::badServerResponse, true},
      {"broken off before it was compressed",
       [] {
         const auto whole = compressed("a body", gzipForm);
         return response(200, whole.substr(0, whole.size() - 3), {{"Content-Encoding", "gzip"}});
       },
       Code::badServerResponse, true},
      {"a head of 290 KB", [] { return oversizedHead(290'000); }, Code::badServerResponse, false},
      {"a head of 4 MB", [] { return oversizedHead(4'000'000); }, Code::badServerResponse, false},
      {"redirects in a circle", [] { return redirect("/"); }, Code::tooManyRedirects, true},
  };
  for (const auto& method : {"GET", "POST"}) {
    for (const auto& [name, response, code, hasResponse] : cases) {
      SCOPED_TRACE(std::string(method) + ": " + name);
      const LoopbackServer server([&](const ReceivedRequest&) { return response(); });
      URLRequest request = get(server.url());
      request.httpMethod = method;
      const auto outcome = send(request);
      EXPECT_EQ(outcome.code(), code) << (outcome.error ? outcome.error->description() : "no failure");
      EXPECT_EQ(outcome.response != nullptr, hasResponse);
      EXPECT_FALSE(outcome.data);
    }
  }
}

TEST_F(SessionFaults, WhatIsUnusualAndRightSucceeds) {
  const std::string body = "a body that comes in its own way";
  const std::vector<std::function<ServerResponse()>> responses{
      [&] { return dripped(200, body); },
      [&] { return chunkedResponse(200, body, 1); },
      [&] { return ServerResponse{{ServerResponse::Send{headOf(200, {}) + body}, ServerResponse::Close{}}}; },
      [&] {
        return ServerResponse{{ServerResponse::Send{headOf(103, {{"Link", "</x>"}}) + headOf(200, {}) + body},
                               ServerResponse::Close{}}};
      },
      [&] { return response(200, body, {{"X-Filler", std::string(60'000, 'x')}}); },
      [&] { return response(200, body).then(ServerResponse::Close{}); },
      [&] { return response(200, body, {{"Content-Encoding", "utf-8"}}); },
      [&] { return response(200, body, {{"Content-Encoding", ""}}); },
      [&] { return response(200, body, {{"Content-Encoding", "gzip, utf-8"}}); },
      [&] { return response(200, compressed(body, gzipForm), {{"Content-Encoding", "Identity, X-gzip"}}); },
      [&] { return response(200, compressed(body, zlibForm), {{"content-encoding", "deflate"}}); },
      [&] { return chunkedResponse(200, compressed(body, bareForm), 1, {{"Content-Encoding", "deflate"}}); },
      [&] {
        const auto parts = compressed(body.substr(0, 9), gzipForm) + compressed("", gzipForm) +
                           compressed(body.substr(9), gzipForm) + "padding" + compressed("none", gzipForm);
        return chunkedResponse(200, parts, 1, {{"Content-Encoding", "gzip"}});
      },
  };
  for (std::size_t index = 0; index < responses.size(); ++index) {
    SCOPED_TRACE(index);
    const LoopbackServer server([&](const ReceivedRequest&) { return responses[index](); });
    const auto outcome = send(get(server.url()));
    EXPECT_EQ(outcome.status(), 200);
    EXPECT_EQ(outcome.text(), body);
    EXPECT_FALSE(outcome.error) << outcome.error->description();
  }
}

TEST_F(SessionFaults, AnObserverThatThrowsFailsNothing) {
  const LoopbackServer server([](const ReceivedRequest&) { return response(200, "body"); });
  auto& send = make(get(server.url()));
  send.task().progress()->addObserver([](const Progress&) { throw std::runtime_error("in an observer"); });
  send.task().resume();
  EXPECT_EQ(send.outcome().text(), "body");
}

TEST_F(SessionFaults, SilenceOfAnyKindEndsByTheRequestsTimeOut) {
  const StuckPort stuck;
  const LoopbackServer server([&](const ReceivedRequest& request) {
    if (request.path() == "/head") return silenceInHead();
    return request.path() == "/body" ? silenceInBody() : silence();
  });
  const auto timeOut = [&](const std::string& url) {
    URLRequest request = get(url);
    request.timeoutInterval = 0.3;
    auto& send = make(request);
    send.task().resume();
    return &send;
  };
  const std::vector<Send*> sends{timeOut(localURL(stuck.port())), timeOut(localURL(server.port(), "https")),
                                 timeOut(server.url("/")), timeOut(server.url("/head")),
                                 timeOut(server.url("/body"))};
  for (const auto* send : sends) EXPECT_EQ(send->outcome().code(), Code::timedOut);
}

TEST_F(SessionFaults, APortThatRefusesIsTold) {
  const RefusingPort refusing;
  EXPECT_EQ(send(get(localURL(refusing.port()))).code(), Code::cannotConnectToHost);
  EXPECT_EQ(send(get("http://no-such-host.invalid/")).code(), Code::cannotFindHost);
}

TEST_F(SessionFaults, AnUploadThatIsCutOffIsLost) {
  const std::string body(8'000'000, 'u');
  const LoopbackServer server([](const ReceivedRequest&) { return response(200); },
                              [](const ReceivedRequest&) { return resetBeforeHead(); });
  const auto outcome = send(post(server.url(), body));
  EXPECT_EQ(outcome.code(), Code::networkConnectionLost);
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(SessionFaults, ARefusalDuringTheUploadIsTheAnswer) {
  const std::string body(8'000'000, 'u');
  const LoopbackServer server([](const ReceivedRequest&) { return response(200); },
                              [](const ReceivedRequest&) { return response(413, "too much"); });
  const auto outcome = send(post(server.url(), body));
  EXPECT_EQ(outcome.status(), 413);
  EXPECT_EQ(outcome.text(), "too much");
}

TEST_F(SessionFaults, AConnectionThatDiedUnusedIsReplacedForAGetAndAPostIsNeverSentTwice) {
  // The server ends each connection as soon as the next request comes on it.
  const LoopbackServer server([](const ReceivedRequest& request) {
    return request.numberOnConnection == 0 ? response(200, "first") : resetBeforeHead();
  });
  EXPECT_EQ(send(get(server.url("/warm"))).status(), 200);
  EXPECT_EQ(send(get(server.url("/again"))).status(), 200);
  const auto outcome = send(post(server.url("/pay"), "amount=1"));
  std::size_t payments = 0;
  for (const auto& request : server.requests()) payments += request.path() == "/pay" ? 1U : 0U;
  EXPECT_EQ(payments, 1U);
  EXPECT_EQ(outcome.code(), Code::networkConnectionLost);
}

TEST_F(SessionFaults, OneFaultLeavesTheOthersOfTheSessionAlone) {
  LoopbackServer server([](const ReceivedRequest& request) {
    if (request.path() == "/held")
      return ServerResponse{
          {ServerResponse::Hold{}, ServerResponse::Send{headOf(200, {{"Content-Length", "2"}}) + "ok"}}};
    return request.path() == "/reset" ? resetInBody() : silence();
  });
  std::vector<Send*> held;
  for (int count = 0; count < 20; ++count) held.push_back(&start(get(server.url("/held"))));
  server.waitForHolds(20);
  EXPECT_EQ(send(get(server.url("/reset"))).code(), Code::networkConnectionLost);
  auto& silent = start(get(server.url("/silent")));
  server.waitForHolds(21);
  silent.task().cancel();
  EXPECT_EQ(silent.outcome().code(), Code::cancelled);
  server.release();
  for (const auto* send : held) EXPECT_EQ(send->outcome().text(), "ok");
}

TEST_F(SessionCancel, EndsTheTaskAtEveryMoment) {
  LoopbackServer server([](const ReceivedRequest& request) {
    if (request.path() == "/head") return silenceInHead();
    return request.path() == "/body" ? silenceInBody() : silence();
  });
  const StuckPort stuck;

  auto& unstarted = make(get(server.url()));
  unstarted.task().cancel();
  unstarted.task().resume();
  EXPECT_EQ(unstarted.outcome().code(), Code::cancelled);
  EXPECT_EQ(server.connectionCount(), 0U);

  auto& atOnce = start(get(server.url()));
  atOnce.task().cancel();
  EXPECT_EQ(atOnce.outcome().code(), Code::cancelled);

  auto& connecting = start(get(localURL(stuck.port())));
  connecting.task().cancel();
  EXPECT_EQ(connecting.outcome().code(), Code::cancelled);

  std::size_t holds = 0;
  for (const auto* path : {"/", "/head", "/body"}) {
    SCOPED_TRACE(path);
    auto& waiting = start(get(server.url(path)));
    server.waitForHolds(++holds);
    waiting.task().cancel();
    waiting.task().cancel();
    EXPECT_EQ(waiting.outcome().code(), Code::cancelled);
    EXPECT_FALSE(waiting.outcome().data);
    server.waitForHangUps(holds);
  }
}

TEST_F(SessionCancel, InTheHandshakeOfTLSEndsTheTask) {
  const LoopbackServer server([](const ReceivedRequest&) { return silence(); });
  auto& send = start(get(localURL(server.port(), "https")));
  server.waitForConnections(1);
  send.task().cancel();
  EXPECT_EQ(send.outcome().code(), Code::cancelled);
}

TEST_F(SessionCancel, InOrAfterTheCompletionChangesNothing) {
  const LoopbackServer server([](const ReceivedRequest&) { return response(200, "done"); });
  Send* send = nullptr;
  send = &make(get(server.url()), [&] { send->task().cancel(); });
  send->task().resume();
  EXPECT_EQ(send->outcome().text(), "done");
  send->task().cancel();
  send->task().resume();
  EXPECT_EQ(send->outcome().text(), "done");
}

TEST_F(SessionCancel, ThroughTheProgressEndsTheTask) {
  LoopbackServer server([](const ReceivedRequest&) { return silenceInBody(); });
  auto& send = make(get(server.url()));
  // From inside the session's own thread, as soon as bytes have come.
  const auto progress = send.task().progress();
  progress->addObserver([](const Progress& changed) {
    if (changed.completedUnitCount() > 0) const_cast<Progress&>(changed).cancel();
  });
  send.task().resume();
  EXPECT_EQ(send.outcome().code(), Code::cancelled);
  EXPECT_TRUE(progress->isCancelled());
}

TEST_F(SessionCancel, TheEndOfTheSessionEndsItsTasks) {
  const LoopbackServer server([](const ReceivedRequest&) { return silence(); });
  std::vector<Send*> sends;
  for (int count = 0; count < 10; ++count) sends.push_back(&start(get(server.url())));
  server.waitForHolds(10);
  sends.push_back(&start(get(server.url())));
  session.reset();
  for (const auto* send : sends) EXPECT_EQ(send->outcome().code(), Code::cancelled);
}

TEST_F(SessionCancel, FromManyThreadsAtOnceEndsTheTaskOnce) {
  const LoopbackServer server([](const ReceivedRequest&) { return silence(); });
  for (int round = 0; round < 50; ++round) {
    auto& send = make(get(server.url()));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&send, thread] { thread == 0 ? send.task().resume() : send.task().cancel(); });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(send.outcome().code(), Code::cancelled);
  }
}
