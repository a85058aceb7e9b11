// A request takes the handle of the one before, and must not notice it.
#include <mutex>

#include "tests/network/SessionTest.h"

using namespace tilvanego;
using namespace tilvanego::test;
using Code = TransportError::Code;

namespace {

using UsedHandle = SessionTest;

constexpr const char* folded = "HTTP/1.1 200 OK\r\n folded: x\r\nContent-Length: 0\r\n\r\n";

ServerResponse respond(const ReceivedRequest& request) {
  const auto path = request.path();
  if (path == "/redirect") return redirect("/moved?a=b");
  if (path == "/empty") return response(204);
  if (path == "/interim") return {headOf(103, {}) + response(200, "after").bytes};
  if (path == "/folded") return {folded};
  if (path == "/closed") return response(200, "x", {{"Connection", "close"}}).then(End::close);
  if (path == "/lost") return {halfBody, End::close};
  if (path == "/bare") return {"HTTP/1.1 200 OK\r\n\r\nall", End::close};
  if (path == "/guarded" && !request.header("Authorization"))
    return response(401, {}, {{"WWW-Authenticate", "Basic realm=\"x\""}, {"X-Other", "y"}});
  const std::string body = request.method == "HEAD" ? "" : "body of " + path;
  // Stored if it is of the host that the request names.
  return chunkedResponse(200, body, 3,
                         {{"Set-Cookie", "a=b; Domain=" + request.header("Host").value_or("")}});
}

/// A server that keeps what it received since the last look.
class Recorder {
 public:
  [[nodiscard]] std::string origin() const { return server_.url("").substr(0, server_.url().size() - 1); }
  /// What it received, and what the session returned.
  std::string shown(const TaskOutcome& outcome) {
    const std::lock_guard held(mutex_);
    return std::exchange(received_, {}) + std::to_string(outcome.status()) + " " + outcome.text() + " " +
           (outcome.error ? outcome.error->description() : "");
  }

 private:
  ServerResponse handle(const ReceivedRequest& request) {
    const std::lock_guard held(mutex_);
    received_ += request.method + " " + request.target + "\n";
    for (const auto& [name, value] : request.headers) received_ += name + ": " + value + "\n";
    received_ += request.body + "\n";
    return respond(request);
  }

  std::mutex mutex_;
  std::string received_;
  const LoopbackServer server_{[this](const ReceivedRequest& request) { return handle(request); }};
};

std::vector<URLRequest> requestsTo(const std::string& origin) {
  const auto with = [](URLRequest request, std::string method, HTTPHeaders fields = {}) {
    request.httpMethod = std::move(method);
    request.headers = std::move(fields);
    return request;
  };
  return {
      get(origin + "/"),
      get(origin + "/other?x=y"),
      get(origin + "/redirect"),
      get(origin + "/interim"),
      get(origin + "/folded"),
      get(origin + "/closed"),
      get(origin + "/lost"),
      get(origin + "/bare"),
      get("http://u:p@" + origin.substr(7) + "/guarded"),
      post(origin + "/", "posted"),
      post(origin + "/redirect", "posted"),
      post(origin + "/", std::string(100'000, 'x')),
      with(get(origin + "/"), "POST"),
      with(get(origin + "/"), "HEAD"),
      with(get(origin + "/empty"), "DELETE"),
      with(post(origin + "/empty", "put"), "PUT", {{"Content-Type", "text/odd"}}),
      with(get(origin + "/"), "GET", {{"Cookie", "own=1"}, {"X-Till", "7"}}),
      with(get(origin + "/"), "GET", {{"Host", "other.example"}}),
      with(post(origin + "/", "expected"), "POST", {{"Expect", "100-continue"}}),
  };
}

}  // namespace

TEST_F(UsedHandle, LeavesNothingToTheNextRequest) {
  Recorder server;
  const auto requests = requestsTo(server.origin());
  const auto sendAndShow = [&](const URLRequest& request) { return server.shown(send(request)); };
  std::vector<std::string> alone;
  for (const auto& request : requests) {
    useSession({});
    alone.push_back(sendAndShow(request));
  }
  for (std::size_t first = 0; first < requests.size(); ++first) {
    for (std::size_t second = 0; second < requests.size(); ++second) {
      // The server of that name has set a cookie.
      if (requests[first].headers.value("Host") && requests[second].headers.value("Host")) continue;
      useSession({});
      EXPECT_EQ(sendAndShow(requests[first]), alone[first]);
      EXPECT_EQ(sendAndShow(requests[second]), alone[second]) << second << " after " << first;
    }
  }
}

TEST_F(UsedHandle, AFoldedFirstFieldWritesToNoFieldOfTheResponseBefore) {
  for (const bool isLong : {false, true}) {
    const LoopbackServer server([&](const ReceivedRequest& request) {
      if (request.path() == "/") return response(200, "fine", {{"X-Filler", std::string(5000, 'x')}});
      const std::string filler(isLong ? 40'000 : 0, ' ');
      return ServerResponse{"HTTP/1.1 200 OK\r\n " + filler + "folded: x\r\nContent-Length: 0\r\n\r\n"};
    });
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(send(get(server.url())).text(), "fine");
      EXPECT_EQ(send(get(server.url("/folded"))).code(), Code::badServerResponse);
    }
  }
}
