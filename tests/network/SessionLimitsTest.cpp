// What no server can go beyond: the size of an answer, the time of a request, and how often it is sent.
#include <cstdio>
#include <future>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/network/SessionTest.h"
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
  useSession({.maximumBodySize = 1000});
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
  useSession({.maximumRequestTime = 0.3});
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

TEST_F(SessionLimits, ARequestEndsByItsDeadlineAndIsNotSentAfterIt) {
  const LoopbackServer server([&](const ReceivedRequest&) { return silence; });
  auto request = get(server.url());
  for (const auto& [milliseconds, requests] : {std::pair{0, 0}, {1000, 1}}) {
    request.deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    const auto outcome = send(request);
    EXPECT_EQ(outcome.code(), Code::timedOut);
    EXPECT_TRUE(outcome.error->description().contains("its limit"));
    EXPECT_EQ(server.requests().size(), requests);
  }
}

TEST_F(SessionLimits, ARedirectIsTheResponseIfTheRequestFollowsNone) {
  const LoopbackServer server([&](const ReceivedRequest&) { return redirect("/there"); });
  auto request = get(server.url());
  request.followsRedirects = false;
  const auto outcome = send(request);
  EXPECT_EQ(outcome.status(), 302);
  EXPECT_EQ(outcome.header("Location"), "/there");
  EXPECT_EQ(server.requests().size(), 1);
}

namespace {

// A server of node with the certificate of an nginx. It says its port and more to a pipe, line by line, and
// ends with its input. The script finds `say`, `serve` to listen, `options` with key and certificate, and
// `argument`.
class NodeServer {
 public:
  explicit NodeServer(const std::string& script, const std::string& argument = "") {
    const auto pipe = certificates_.files().string() + "/heard";
    EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    auto key = certificates_.certificate();
    const auto command = "node -e '" + std::string(start) + script + "' " +
                         key.replace_extension("key").string() + " " + certificates_.certificate().string() +
                         " " + pipe + " " + argument;
    process_ = popen(command.c_str(), "w");
    heard_ = FileDescriptor(open(pipe.c_str(), O_RDONLY));
    url_ = "https://127.0.0.1:" + word() + "/";
  }
  NodeServer(const NodeServer&) = delete;
  NodeServer& operator=(const NodeServer&) = delete;
  ~NodeServer() { end(); }

  void end() {
    if (process_) pclose(std::exchange(process_, nullptr));
  }
  [[nodiscard]] const std::string& url() const { return url_; }
  [[nodiscard]] URLSessionConfiguration configuration() const {
    return {.additionalCertificates = certificates_.certificate()};
  }
  // Byte by byte: a stream of libc++ waits until its buffer is full.
  std::string word() {
    std::string text;
    for (char letter = 0; read(heard_.get(), &letter, 1) == 1 && letter != '\n';) text += letter;
    return text;
  }

 private:
  static constexpr std::string_view start = R"(
    const fs = require("fs"), [key, cert] = process.argv.slice(1, 3).map(path => fs.readFileSync(path));
    const heard = fs.openSync(process.argv[3], "w"), say = word => fs.writeSync(heard, word + "\n");
    const options = {key, cert}, argument = process.argv[4];
    const serve = server => server.listen(0, "127.0.0.1", () => say(server.address().port));
    process.stdin.on("end", () => process.exit()).resume();)";

  NginxServer certificates_;
  FILE* process_ = nullptr;
  FileDescriptor heard_;
  std::string url_;
};

}  // namespace

TEST_F(SessionLimits, AStreamThatIsRefusedIsSentOnceMoreIfItMayBeAndAMalformedOneIsTold) {
  // Ends every stream of HTTP/2 with the error code in its path.
  NodeServer server(R"(
    const server = require("http2").createSecureServer(options);
    server.on("stream", (stream, head) => {
      say(head[":method"]);
      stream.on("error", () => {}).close(Number(head[":path"].slice(1)));
    });
    serve(server);)");
  useSession(server.configuration());
  const auto fails = [&](const char* method, const char* errorCode, Code code) {
    URLRequest request = get(server.url() + errorCode);
    request.httpMethod = method;
    const auto outcome = send(request);
    EXPECT_EQ(outcome.code(), code) << outcome.error->description();
  };
  // 7 is REFUSED_STREAM.
  for (const auto* method : {"GET", "PUT", "POST"}) fails(method, "7", Code::networkConnectionLost);
  for (const auto* violation : {"1", "3", "5", "6", "9"}) fails("HEAD", violation, Code::badServerResponse);
  for (const auto* other : {"0", "2", "8"}) fails("HEAD", other, Code::networkConnectionLost);
  server.end();
  for (const auto* method : {"GET", "GET", "PUT", "PUT", "POST", "HEAD"}) EXPECT_EQ(server.word(), method);
}

namespace {

// Responds to one request on the listener: with the first part, with one byte of the second after each pause,
// and with the third. Ends when the client hangs up.
void drip(const FileDescriptor& listener, const std::array<std::string, 3>& parts) {
  const LoopbackServer silent([](const ReceivedRequest&) { return silence; });
  URLSession pauses({.proxy = ""});
  URLRequest pause = get(silent.url());
  pause.timeoutInterval = 0.25;
  const FileDescriptor connection(accept(listener.get(), nullptr, nullptr));
  char byte = 0;
  for (std::string head; !head.ends_with("\r\n\r\n"); head += byte) {
    if (recv(connection.get(), &byte, 1, 0) != 1) return;
  }
  const auto sends = [&](std::string_view text) {
    return ::send(connection.get(), text.data(), text.size(), MSG_NOSIGNAL) == std::ssize(text);
  };
  bool isOpen = sends(parts[0]);
  for (std::size_t i = 0; isOpen && i < parts[1].size(); ++i) {
    const Send waiting(pauses, pause);
    waiting.task().resume();
    EXPECT_EQ(waiting.outcome().code(), Code::timedOut);
    isOpen = sends(parts[1].substr(i, 1));
  }
  EXPECT_TRUE(!isOpen || sends(parts[2]));
}

}  // namespace

TEST_F(SessionLimits, BytesInsideALineAreNoSilenceButTheWholeRequestMayBeLate) {
  const std::string ok = "HTTP/1.1 200 OK\r\n";
  const std::string chunks = ok + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string noBody = "\r\nContent-Length: 0\r\n\r\n";
  struct Case {
    std::array<std::string, 3> parts;
    std::optional<Code> code{};
    FileDescriptor listener = loopbackListener(1);
  };
  Case cases[] = {{{"HTTP/1.1 200 ", "Fine", noBody}},
                  {{ok + "X: ", "long", noBody}},
                  {{chunks, "0000", "\r\n\r\n"}},
                  {{chunks + "0\r\n", "X: y", "\r\n\r\n"}},
                  {{ok, std::string(100, 'x'), ""}, Code::timedOut},
                  {{ok + "X: ", "tls!", noBody}}};
  const auto& tunnelled = std::end(cases)[-1].listener;
  const NodeServer tunnel(R"(
    serve(require("tls").createServer(options, outside => {
      const inside = require("net").connect(argument, "127.0.0.1");
      inside.pipe(outside.on("error", () => inside.destroy())).pipe(inside.on("error", () => outside.destroy()));
    }));)",
                          std::to_string(portOf(tunnelled)));
  auto configuration = tunnel.configuration();
  configuration.maximumRequestTime = 2.5;
  useSession(configuration);
  std::vector<std::future<void>> servers;
  std::vector<const Send*> sends;
  for (const auto& [parts, code, listener] : cases) {
    servers.push_back(std::async(std::launch::async, drip, std::cref(listener), std::cref(parts)));
    auto request =
        get(&listener == &tunnelled ? tunnel.url() : "http://127.0.0.1:" + std::to_string(portOf(listener)));
    request.timeoutInterval = 0.8;
    sends.push_back(&start(request));
  }
  for (std::size_t i = 0; i < sends.size(); ++i) {
    const auto outcome = sends[i]->outcome();
    EXPECT_EQ(outcome.code(), cases[i].code) << cases[i].parts[1];
    EXPECT_TRUE(!outcome.error || outcome.error->description().contains("whole request"))
        << outcome.error->description();
    shutdown(cases[i].listener.get(), SHUT_RDWR);
  }
}
