// What no server can go beyond: the size of an answer, the time of a request, and how often it is sent.
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/network/SessionTest.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/LoopbackSocket.h"
#include "tests/support/NginxServer.h"

using namespace tilvanego;
using namespace tilvanego::test;
using Code = TransportError::Code;
using SessionLimits = SessionTest;

TEST_F(SessionLimits, ABodyIsAsLargeAsTheSessionOrTheRequestAllows) {
  const std::string limit(1000, 'x');
  const std::string more(1001, 'x');
  // Half a MB that become 100 MiB.
  const auto bomb = response(200, compressed(std::string(100 * 1024 * 1024, '\0'), gzipForm),
                             {{"Content-Encoding", "gzip"}});
  const auto zipped = [](const std::string& body) {
    return response(200, compressed(body, gzipForm), {{"Content-Encoding", "gzip"}});
  };
  const std::string endless = headOf(200, {{"Content-Length", "99999999999"}});
  struct Case {
    const char* name;
    ServerResponse response;
    std::optional<std::uint64_t> ofRequest;
    std::optional<Code> code;
    const char* method = "GET";
  };
  const Case cases[] = {
      {"to the byte", response(200, limit), {}, {}},
      {"announced", response(200, more), {}, Code::bodyTooLarge},
      {"announced alone", {endless + "x", End::silence}, {}, Code::bodyTooLarge},
      {"never announced", chunkedResponse(200, more, 100), {}, Code::bodyTooLarge},
      {"to the byte, compressed", zipped(limit), {}, {}},
      {"compressed", zipped(more), {}, Code::bodyTooLarge},
      {"of a redirect", response(302, more, {{"Location", "/"}}), {}, Code::bodyTooLarge},
      {"of an unanswered challenge", response(401, more), {}, Code::bodyTooLarge},
      {"never sent", {endless}, {}, {}, "HEAD"},
      {"more by the request", chunkedResponse(200, more, 100), 1001, {}},
      {"less by the request", chunkedResponse(200, limit, 100), 999, Code::bodyTooLarge},
      {"no limit by the request", bomb, 0, {}},
  };
  URLSessionConfiguration narrow;
  narrow.maximumBodySize = 1000;
  useSession(narrow);
  for (const auto& [name, response, ofRequest, code, method] : cases) {
    SCOPED_TRACE(name);
    const LoopbackServer server([&](const ReceivedRequest&) { return response; });
    URLRequest request = get(server.url());
    request.httpMethod = method;
    request.maximumBodySize = ofRequest;
    const auto outcome = send(request);
    EXPECT_EQ(outcome.code(), code) << (outcome.error ? outcome.error->description() : "no failure");
    EXPECT_EQ(outcome.data.has_value(), !code);
    EXPECT_NE(outcome.status(), 0);
  }
  useSession({});
  const LoopbackServer server([&](const ReceivedRequest&) { return bomb; });
  EXPECT_EQ(send(get(server.url())).code(), Code::bodyTooLarge);
}

TEST_F(SessionLimits, AnAnswerThatNeverEndsEndsByTheSessionsTime) {
  const ServerResponse endless{response(200, std::string(50'000'000, 'x')).bytes, End::nextRequest, true};
  URLSessionConfiguration hasty;
  hasty.maximumRequestTime = 0.3;
  useSession(hasty);
  const LoopbackServer server([&](const ReceivedRequest& request) {
    if (request.path() == "/drip") return endless;
    // Bytes keep coming until the whole answer is late.
    return request.path() == "/silence" ? silence : redirect("/drip");
  });
  for (const auto* path : {"/drip", "/silence", "/redirect"}) {
    const auto outcome = send(get(server.url(path)));
    EXPECT_EQ(outcome.code(), Code::timedOut) << path;
    EXPECT_TRUE(outcome.error->description().contains("whole request")) << path;
  }
}

// Agrees to HTTP/2 and refuses every stream (REFUSED_STREAM). It says its port and each method to a pipe, and
// ends with its input.
constexpr const char* refusingServer = R"(node -e '
  const fs = require("fs"), [key, cert] = process.argv.slice(1, 3).map(path => fs.readFileSync(path));
  const heard = fs.openSync(process.argv[3], "w"), say = word => fs.writeSync(heard, word + "\n");
  const server = require("http2").createSecureServer({key, cert});
  server.on("stream", (stream, head) => { say(head[":method"]); stream.on("error", () => {}).close(7); });
  server.listen(0, "127.0.0.1", () => say(server.address().port));
  process.stdin.on("end", () => process.exit()).resume();' )";

TEST_F(SessionLimits, AStreamThatIsRefusedIsSentOnceMoreIfItMayBe) {
  const NginxServer certificates;
  const auto certificate = certificates.certificate().string();
  const auto pipe = certificates.files().string() + "/heard";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  auto key = certificates.certificate();
  const auto command =
      refusingServer + key.replace_extension("key").string() + " " + certificate + " " + pipe;
  FILE* const server = popen(command.c_str(), "w");
  ASSERT_NE(server, nullptr);
  const FileDescriptor heard(open(pipe.c_str(), O_RDONLY));
  // Byte by byte: a stream of libc++ waits until its buffer is full.
  const auto word = [&heard] {
    std::string text;
    for (char letter = 0; read(heard.get(), &letter, 1) == 1 && letter != '\n';) text += letter;
    return text;
  };
  const std::string port = word();
  URLSessionConfiguration configuration;
  configuration.additionalCertificates = certificate;
  useSession(configuration);
  for (const auto* method : {"GET", "PUT", "POST"}) {
    URLRequest request = get("https://127.0.0.1:" + port + "/");
    request.httpMethod = method;
    const auto outcome = send(request);
    EXPECT_EQ(outcome.code(), Code::networkConnectionLost) << outcome.error->description();
  }
  pclose(server);
  for (const auto* method : {"GET", "GET", "PUT", "PUT", "POST", ""}) EXPECT_EQ(word(), method);
}
