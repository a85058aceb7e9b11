// Servers that break what they begin, and ends that the host brings about.
#include <future>

#include "tests/network/SessionTest.h"
#include "tests/support/LoopbackSocket.h"
#include "tests/support/Threads.h"

using namespace tilvanego;
using namespace tilvanego::test;
using Code = TransportError::Code;

namespace {

using SessionFaults = SessionTest;
using SessionCancel = SessionTest;

ServerResponse chunked(std::string_view bytes, End end = End::silence) {
  return {headOf(200, {{"Transfer-Encoding", "chunked"}}) + std::string(bytes), end};
}

std::string repeated(int count, std::string_view text) {
  std::string all;
  for (; count > 0; --count) all += text;
  return all;
}

std::string localURL(std::uint16_t port, std::string_view scheme = "http") {
  return std::string(scheme) + "://127.0.0.1:" + std::to_string(port) + "/";
}

}  // namespace

TEST_F(SessionFaults, EachFaultOfAServerIsToldByItsCode) {
  struct Case {
    const char* name;
    ServerResponse response;
    Code code;
    bool hasResponse;
  };
  const auto gzip = compressed("a body", gzipForm);
  const std::string filler = "X-Filler: " + std::string(1000, 'x') + "\r\n";
  constexpr auto lost = Code::networkConnectionLost, bad = Code::badServerResponse;
  const std::vector<Case> cases{
      {"closed before the head", {"", End::close}, lost, false},
      {"closed in the head", {halfHead, End::close}, lost, false},
      {"closed in the body", {halfBody, End::close}, lost, true},
      {"closed in the chunks", chunked("5\r\nhello\r\n20\r\nsho", End::close), lost, true},
      {"reset before the head", {"", End::reset}, lost, false},
      {"reset in the head", {halfHead, End::reset}, lost, false},
      {"reset in the body", {halfBody, End::reset}, lost, true},
      {"a first field that is folded",
       {"HTTP/1.1 200 OK\r\n folded: x\r\nContent-Length: 0\r\n\r\n"},
       bad,
       false},
      {"a trailer without a colon", chunked("0\r\nX\r\n\r\n"), bad, true},
      {"a chunk of no size", brokenChunkSize, bad, true},
      {"a size of another form", chunked("0x5\r\nhello\r\n0\r\n\r\n"), bad, true},
      {"a size below 0", chunked("-5\r\nhello\r\n0\r\n\r\n"), bad, true},
      {"an empty size", chunked("5\r\nhello\r\n\r\n0\r\n\r\n"), bad, true},
      {"a chunk that is longer than its size", chunked("4\r\nhello\r\n0\r\n\r\n"), bad, true},
      {"a size beyond all numbers", chunked("FFFFFFFFFFFFFFFFF\r\nx"), bad, true},
      {"chunks without line breaks", chunked("1\r\nxx1\r\nx"), bad, true},
      {"a trailer without end", chunked("0\r\nX: " + std::string(300'000, 'x')), bad, true},
      {"trailers without end", chunked("1\r\nx\r\n0\r\n" + repeated(20'000, "X: y\r\n")), bad, true},
      {"closed after an interim head", {headOf(103, {}), End::close}, lost, false},
      {"closed in the head after an interim one", {headOf(100, {}) + halfHead, End::close}, lost, false},
      {"not HTTP", notHTTP, bad, false},
      {"two lengths",
       {headOf(200, {{"Content-Length", "3"}, {"Content-Length", "5"}}) + "hello"},
       bad,
       false},
      {"a field of 90 KB", response(200, {}, {{"X", std::string(90'000, 'x')}}), bad, false},
      {"a field of 150 KB", response(200, {}, {{"X", std::string(150'000, 'x')}}), bad, false},
      {"interim heads", {repeated(10'000, headOf(103, {{"Link", "</x>"}})), End::silence}, bad, false},
      {"not compressed as it says", response(200, "plain", {{"Content-Encoding", "gzip"}}), bad, true},
      {"an error page that isn't", response(404, "plain", {{"Content-Encoding", "gzip"}}), bad, true},
      {"broken off", response(200, gzip.substr(0, gzip.size() - 3), {{"Content-Encoding", "gzip"}}), bad,
       true},
      {"a head of 290 KB", {"HTTP/1.1 200 OK\r\n" + repeated(290, filler) + "\r\n"}, bad, false},
      {"a head of 4 MB", {"HTTP/1.1 200 OK\r\n" + repeated(4000, filler) + "\r\n"}, bad, false},
      {"redirects in a circle", redirect("/"), Code::tooManyRedirects, true},
  };
  for (const auto& method : {"GET", "POST"}) {
    for (const auto& [name, response, code, hasResponse] : cases) {
      SCOPED_TRACE(std::string(method) + ": " + name);
      const LoopbackServer server([&](const ReceivedRequest&) { return response; });
      URLRequest request = get(server.url());
      request.httpMethod = method;
      const auto outcome = send(request);
      EXPECT_EQ(outcome.code(), code) << (outcome.error ? outcome.error->description() : "no failure");
      EXPECT_EQ(outcome.response != nullptr, hasResponse);
      EXPECT_FALSE(outcome.data);
    }
  }
}

TEST_F(SessionFaults, AFoldedFirstFieldAfterAChallengeIsOneToo) {
  const LoopbackServer server([](const ReceivedRequest& request) {
    if (!request.header("Authorization")) {
      return response(401, {}, {{"WWW-Authenticate", "Basic realm=\"x\""}, {"X-Other", "y"}});
    }
    return ServerResponse{"HTTP/1.1 200 OK\r\n folded: x\r\nContent-Length: 0\r\n\r\n"};
  });
  EXPECT_EQ(send(get("http://u:p@" + server.url().substr(7))).code(), Code::badServerResponse);
}

TEST_F(SessionFaults, WhatComesBeforeARequestIsNoResponseToIt) {
  for (const std::string& early : {response(200, "early").bytes, std::string(halfHead), std::string()}) {
    const FileDescriptor listener = loopbackListener(8);
    std::promise<void> completed, sent;
    // Responds to one request on each of two connections; the second only if the first isn't used again.
    auto requests = std::async(std::launch::async, [&] {
      std::string first;
      const FileDescriptor kept(accept(listener.get(), nullptr, nullptr));
      for (std::array<char, 4096> room; !first.contains("\r\n\r\n");) {
        first.append(room.data(), static_cast<std::size_t>(recv(kept.get(), room.data(), room.size(), 0)));
      }
      const auto reply = [](const FileDescriptor& connection, const std::string& bytes) {
        EXPECT_EQ(::send(connection.get(), bytes.data(), bytes.size(), 0), std::ssize(bytes));
      };
      reply(kept, response(200, "first").bytes);
      completed.get_future().wait();
      early.empty() ? static_cast<void>(shutdown(kept.get(), SHUT_WR)) : reply(kept, early);
      sent.set_value();
      const FileDescriptor fresh(accept(listener.get(), nullptr, nullptr));
      std::string second;
      for (std::array<char, 4096> room; !second.ends_with("body");) {
        second.append(room.data(), static_cast<std::size_t>(recv(fresh.get(), room.data(), room.size(), 0)));
      }
      reply(fresh, response(200, "second").bytes);
      return second;
    });
    EXPECT_EQ(send(get(localURL(portOf(listener)))).text(), "first");
    completed.set_value();
    sent.get_future().wait();
    EXPECT_EQ(send(post(localURL(portOf(listener)), "body")).text(), "second") << early;
    shutdown(listener.get(), SHUT_RDWR);
    EXPECT_TRUE(requests.get().starts_with("POST / "));
  }
}

TEST_F(SessionFaults, WhatIsUnusualAndRightSucceeds) {
  const std::string body = "a body that comes in its own way";
  const auto encoded = [](std::string_view bytes, const char* coding) {
    return response(200, bytes, {{"Content-Encoding", coding}});
  };
  const auto parts = compressed(body.substr(0, 9), gzipForm) + compressed("", gzipForm) +
                     compressed(body.substr(9), gzipForm) + "padding" + compressed("none", gzipForm);
  const std::vector<ServerResponse> responses{
      {response(200, body).bytes, End::nextRequest, true},
      chunkedResponse(200, body, 1),
      {headOf(200, {}) + body, End::close},
      {headOf(103, {{"Link", "</x>"}}) + headOf(200, {}) + body, End::close},
      response(200, body, {{"X-Filler", std::string(60'000, 'x')}}),
      response(200, body).then(End::close),
      encoded(body, "utf-8"),
      encoded(body, ""),
      encoded(body, "gzip, utf-8"),
      encoded(compressed(body, gzipForm), "Identity, X-gzip"),
      encoded(compressed(body, zlibForm), "deflate"),
      chunkedResponse(200, compressed(body, bareForm), 1, {{"content-encoding", "deflate"}}),
      chunkedResponse(200, parts, 1, {{"Content-Encoding", "gzip"}}),
  };
  for (std::size_t index = 0; index < responses.size(); ++index) {
    SCOPED_TRACE(index);
    const LoopbackServer server([&](const ReceivedRequest&) { return responses[index]; });
    const auto outcome = send(get(server.url()));
    EXPECT_EQ(outcome.status(), 200);
    EXPECT_EQ(outcome.text(), body);
    EXPECT_FALSE(outcome.error) << outcome.error->description();
  }
}

TEST_F(SessionFaults, SilenceOfAnyKindEndsByTheRequestsTimeOut) {
  const StuckPort stuck;
  const LoopbackServer server([&](const ReceivedRequest& request) {
    if (request.path() == "/head") return ServerResponse{halfHead, End::silence};
    return request.path() == "/body" ? ServerResponse{halfBody, End::silence} : silence;
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
  const auto refusing = heldPort();
  EXPECT_EQ(send(get(localURL(portOf(refusing)))).code(), Code::cannotConnectToHost);
  EXPECT_EQ(send(get("http://no-such-host.invalid/")).code(), Code::cannotFindHost);
}

TEST_F(SessionFaults, AnUploadMayBeLostOrRefusedOnItsWay) {
  const std::string body(8'000'000, 'u');
  const LoopbackServer server(
      [](const ReceivedRequest& request) {
        return request.path() == "/refused" ? response(413, "too much") : ServerResponse{"", End::reset};
      },
      LoopbackServer::Waits::forHead);
  EXPECT_EQ(send(post(server.url("/lost"), body)).code(), Code::networkConnectionLost);
  const auto outcome = send(post(server.url("/refused"), body));
  EXPECT_EQ(outcome.status(), 413);
  EXPECT_EQ(outcome.text(), "too much");
  EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(SessionFaults, AConnectionThatDiedUnusedIsReplacedForAGetAndAPostIsNeverSentTwice) {
  // The server ends each connection as soon as the next request comes on it.
  const LoopbackServer server([](const ReceivedRequest& request) {
    return request.numberOnConnection == 0 ? response(200, "first") : ServerResponse{"", End::reset};
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
  std::promise<void> released;
  const LoopbackServer holding([release = released.get_future().share()](const ReceivedRequest&) {
    release.wait();
    return response(200, "ok");
  });
  const LoopbackServer server([](const ReceivedRequest& request) {
    return request.path() == "/reset" ? ServerResponse{halfBody, End::reset} : silence;
  });
  std::vector<Send*> held;
  for (int count = 0; count < 20; ++count) held.push_back(&start(get(holding.url())));
  holding.waitFor(&Counts::requests, 20);
  EXPECT_EQ(send(get(server.url("/reset"))).code(), Code::networkConnectionLost);
  auto& silent = start(get(server.url("/silent")));
  server.waitFor(&Counts::silences, 1);
  silent.task().cancel();
  EXPECT_EQ(silent.outcome().code(), Code::cancelled);
  released.set_value();
  for (const auto* send : held) EXPECT_EQ(send->outcome().text(), "ok");
}

TEST_F(SessionCancel, EndsTheTaskAtEveryMoment) {
  const LoopbackServer server([](const ReceivedRequest& request) {
    if (request.path() == "/head") return ServerResponse{halfHead, End::silence};
    return request.path() == "/body" ? ServerResponse{halfBody, End::silence} : silence;
  });
  const StuckPort stuck;
  const auto isCancelled = [](Send& send) {
    send.task().cancel();
    send.task().cancel();
    EXPECT_EQ(send.outcome().code(), Code::cancelled);
    EXPECT_FALSE(send.outcome().data);
  };
  auto& unstarted = make(get(server.url()));
  isCancelled(unstarted);
  unstarted.task().resume();
  EXPECT_EQ(server.connectionCount(), 0U);
  auto& shakingHands = start(get(localURL(server.port(), "https")));
  server.waitFor(&Counts::connections, 1);
  isCancelled(shakingHands);
  isCancelled(start(get(server.url())));
  isCancelled(start(get(localURL(stuck.port()))));
  for (std::size_t count = 1; const auto* path : {"/", "/head", "/body"}) {
    SCOPED_TRACE(path);
    auto& waiting = start(get(server.url(path)));
    server.waitFor(&Counts::silences, count);
    isCancelled(waiting);
    server.waitFor(&Counts::hangUps, count++);
  }
}

TEST_F(SessionCancel, ThroughTheProgressEndsTheTask) {
  const LoopbackServer server([](const ReceivedRequest&) { return ServerResponse{halfBody, End::silence}; });
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
  const LoopbackServer server([](const ReceivedRequest&) { return silence; });
  std::vector<Send*> sends;
  for (int count = 0; count < 10; ++count) sends.push_back(&start(get(server.url())));
  server.waitFor(&Counts::silences, 10);
  sends.push_back(&start(get(server.url())));
  session.reset();
  for (const auto* send : sends) EXPECT_EQ(send->outcome().code(), Code::cancelled);
}

TEST_F(SessionCancel, FromManyThreadsAtOnceEndsTheTaskOnce) {
  const LoopbackServer server([](const ReceivedRequest&) { return silence; });
  for (int round = 0; round < 50; ++round) {
    auto& send = make(get(server.url()));
    inThreads(4, [&](int thread) { thread == 0 ? send.task().resume() : send.task().cancel(); });
    EXPECT_EQ(send.outcome().code(), Code::cancelled);
  }
}
