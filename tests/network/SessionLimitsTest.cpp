// What no server can go beyond: the size of an answer, the time of a request, and how often it is sent.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "tests/network/SessionTest.h"
#include "tests/support/HTTPMessages.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/NginxServer.h"
#include "tests/support/RefusingHTTP2Server.h"

using namespace tilvanego;
using namespace tilvanego::test;
using Code = TransportError::Code;
using SessionLimits = SessionTest;

TEST_F(SessionLimits, ABodyIsAsLargeAsTheSessionOrTheRequestAllows) {
  const std::string limit(1000, 'x');
  const std::string more(1001, 'x');
  // Half a MB that become 100 MiB.
  const auto bomb = [bytes = compressed(std::string(100 * 1024 * 1024, '\0'), gzipForm)] {
    return response(200, bytes, {{"Content-Encoding", "gzip"}});
  };
  struct Case {
    const char* name;
    std::function<ServerResponse()> response;
    std::optional<std::uint64_t> ofRequest;
    std::optional<Code> code;
    const char* method = "GET";
  };
  const Case cases[] = {
      {"to the byte", [&] { return response(200, limit); }, {}, {}},
      {"announced", [&] { return response(200, more); }, {}, Code::bodyTooLarge},
      {"announced alone",
       [] {
         return sent(headOf(200, {{"Content-Length", "99999999999"}}) + "x").then(ServerResponse::Hold{});
       },
       {},
       Code::bodyTooLarge},
      {"never announced", [&] { return chunkedResponse(200, more, 100); }, {}, Code::bodyTooLarge},
      {"to the byte, compressed",
       [&] { return response(200, compressed(limit, gzipForm), {{"Content-Encoding", "gzip"}}); },
       {},
       {}},
      {"compressed",
       [&] { return response(200, compressed(more, gzipForm), {{"Content-Encoding", "gzip"}}); },
       {},
       Code::bodyTooLarge},
      {"of a redirect", [&] { return response(302, more, {{"Location", "/"}}); }, {}, Code::bodyTooLarge},
      {"of an unanswered challenge", [&] { return response(401, more); }, {}, Code::bodyTooLarge},
      {"never sent", [] { return sent(headOf(200, {{"Content-Length", "99999999999"}})); }, {}, {}, "HEAD"},
      {"more by the request", [&] { return chunkedResponse(200, more, 100); }, 1001, {}},
      {"less by the request", [&] { return chunkedResponse(200, limit, 100); }, 999, Code::bodyTooLarge},
      {"no limit by the request", bomb, 0, {}},
  };
  URLSessionConfiguration narrow;
  narrow.maximumBodySize = 1000;
  useSession(narrow);
  for (const auto& [name, response, ofRequest, code, method] : cases) {
    SCOPED_TRACE(name);
    const LoopbackServer server([&](const ReceivedRequest&) { return response(); });
    URLRequest request = get(server.url());
    request.httpMethod = method;
    request.maximumBodySize = ofRequest;
    const auto outcome = send(request);
    EXPECT_EQ(outcome.code(), code) << (outcome.error ? outcome.error->description() : "no failure");
    EXPECT_EQ(outcome.data.has_value(), !code);
    EXPECT_NE(outcome.status(), 0);
  }
  useSession({});
  const LoopbackServer server([&](const ReceivedRequest&) { return bomb(); });
  EXPECT_EQ(send(get(server.url())).code(), Code::bodyTooLarge);
}

TEST_F(SessionLimits, AnAnswerThatNeverEndsEndsByTheSessionsTime) {
  const std::string endless(50'000'000, 'x');
  URLSessionConfiguration hasty;
  hasty.maximumRequestTime = 0.3;
  useSession(hasty);
  const LoopbackServer server([&](const ReceivedRequest& request) {
    if (request.path() == "/drip") return dripped(200, endless);
    // Bytes keep coming until the whole answer is late.
    return request.path() == "/silence" ? silence() : redirect("/drip");
  });
  for (const auto* path : {"/drip", "/silence", "/redirect"}) {
    const auto outcome = send(get(server.url(path)));
    EXPECT_EQ(outcome.code(), Code::timedOut) << path;
    EXPECT_TRUE(outcome.error->description().contains("whole request")) << path;
  }
}

TEST_F(SessionLimits, AStreamThatIsRefusedIsSentOnceMoreIfItMayBe) {
  const NginxServer certificates;
  URLSessionConfiguration configuration;
  configuration.additionalCertificates = certificates.certificate();
  for (const auto& [method, sends] : {std::pair{"GET", 2}, {"PUT", 2}, {"POST", 1}}) {
    RefusingHTTP2Server server(certificates.certificate());
    useSession(configuration);
    URLRequest request = get(server.url());
    request.httpMethod = method;
    const auto outcome = send(request);
    EXPECT_EQ(outcome.code(), Code::networkConnectionLost) << outcome.error->description();
    EXPECT_EQ(server.refusals(), sends) << method;
    endSession();
  }
}
