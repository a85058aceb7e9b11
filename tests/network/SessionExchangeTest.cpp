// What goes over the wire and comes back when nothing is wrong.
#include <ctime>
#include <iomanip>
#include <mutex>
#include <sstream>

#include "tests/network/SessionTest.h"
#include "tests/support/NginxServer.h"

using namespace tilvanego;
using namespace tilvanego::test;
using Code = TransportError::Code;

namespace {

std::string varied(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t index = 0; index < size; ++index) bytes[index] = static_cast<char>((index * index) >> 3U);
  return bytes;
}

class SessionWithNginx : public SessionTest {
 protected:
  static void SetUpTestSuite() { nginx = std::make_unique<NginxServer>(); }
  static void TearDownTestSuite() { nginx.reset(); }

  void trust(const std::filesystem::path& certificate) {
    useSession({.additionalCertificates = certificate});
  }

  static std::unique_ptr<NginxServer> nginx;
};
std::unique_ptr<NginxServer> SessionWithNginx::nginx;

using SessionRequests = SessionTest;
using SessionRedirects = SessionTest;

}  // namespace

TEST_F(SessionWithNginx, TLSIsRefusedWithoutTheCertificateAndTakenWithIt) {
  EXPECT_EQ(send(get(nginx->secureURL("/hello"))).code(), Code::serverCertificateUntrusted);
  trust(nginx->certificate());
  EXPECT_EQ(send(get(nginx->secureURL("/hello"))).text(), "hello\n");
  // Known, but for another host.
  EXPECT_EQ(send(get(nginx->secureURL("/hello", "localhost"))).code(), Code::serverCertificateUntrusted);
  trust(nginx->files() / "missing.pem");
  EXPECT_EQ(send(get(nginx->secureURL("/hello"))).code(), Code::secureConnectionFailed);
  // Plain HTTP where TLS is expected.
  EXPECT_EQ(send(get("https" + nginx->url("/hello").substr(4))).code(), Code::secureConnectionFailed);
}

TEST_F(SessionWithNginx, HTTP2IsSpokenOverTLS) {
  trust(nginx->certificate());
  const auto first = send(get(nginx->secureURL("/hello")));
  EXPECT_EQ(first.header("X-Protocol"), "HTTP/2.0");
  // Later requests share the connection, also those under way at the same time.
  std::vector<Send*> sends;
  for (int count = 0; count < 50; ++count) sends.push_back(&start(get(nginx->secureURL("/hello"))));
  for (const auto* send : sends) {
    EXPECT_EQ(send->outcome().text(), "hello\n");
    EXPECT_EQ(send->outcome().header("X-Connection"), first.header("X-Connection"));
  }
  EXPECT_EQ(send(get(nginx->url("/hello"))).header("X-Protocol"), "HTTP/1.1");
  // libcurl can't send long heads over it.
  for (const auto& [count, protocol] : {std::pair(2, "HTTP/2.0"), std::pair(45, "HTTP/1.1")}) {
    auto request = get(nginx->secureURL("/hello"));
    for (int index = 0; index < count; ++index)
      request.headers.setValue("X-" + std::to_string(index), std::string(20'000, 'x'));
    const auto outcome = send(request);
    EXPECT_EQ(outcome.header("X-Protocol"), protocol) << (outcome.error ? outcome.error->description() : "");
    EXPECT_EQ(outcome.text(), "hello\n");
  }
}

TEST_F(SessionWithNginx, LargeBodiesArriveWholeBothWays) {
  const auto large = varied(30'000'000);
  trust(nginx->certificate());
  for (const auto& url : {nginx->url("/"), nginx->secureURL("/")}) {
    SCOPED_TRACE(url);
    URLRequest upload = post(url + "store/large", large);
    upload.httpMethod = "PUT";
    const auto stored = send(upload);
    EXPECT_TRUE(stored.status() == 201 || stored.status() == 204) << stored.status();
    const auto outcome = send(get(url + "files/large"));
    EXPECT_EQ(outcome.status(), 200);
    EXPECT_TRUE(outcome.text() == large);
  }
}

TEST_F(SessionRequests, MethodPathHeadersAndBodyGoOutAsTheyStand) {
  const LoopbackServer server([](const ReceivedRequest&) { return response(200); });
  for (const auto* method : {"GET", "POST", "PUT", "PATCH", "DELETE", "OPTIONS", "TRACE"}) {
    URLRequest request = get(server.url("/a%20b/c?d=e%26&f=%2B+g#fragment"));
    request.httpMethod = method;
    request.headers = {{"X-Till", "7"},
                       {"content-type", "text/odd"},
                       {"X-Empty", ""},
                       {"X-UTF8",
                        "Stra\xC3\x9F"
                        "e"}};
    if (std::string_view("POST PUT PATCH").contains(method))
      request.httpBody = Data(std::string_view("b\0dy", 4));
    ASSERT_EQ(send(request).status(), 200) << method;
    const auto received = server.requests().back();
    EXPECT_EQ(received.method, method);
    EXPECT_EQ(received.target, "/a%20b/c?d=e%26&f=%2B+g");
    EXPECT_EQ(received.header("X-Till"), "7");
    EXPECT_EQ(received.header("Content-Type"), "text/odd");
    EXPECT_EQ(received.header("X-Empty"), "");
    EXPECT_TRUE(received.header("Accept-Encoding").value().contains("gzip"));
    EXPECT_EQ(received.header("X-UTF8"),
              "Stra\xC3\x9F"
              "e");
    EXPECT_EQ(received.body, request.httpBody ? std::string_view("b\0dy", 4) : std::string_view()) << method;
  }
}

TEST_F(SessionRequests, NothingOfAHeaderThatWouldSmuggleReachesTheWire) {
  const LoopbackServer server([](const ReceivedRequest&) { return response(200); });
  using namespace std::string_literals;
  for (const auto& evil :
       {"a\r\nX-Evil: 1"s, "a\nX-Evil: 1"s, "a\rX-Evil: 1"s, "a\0X-Evil"s, "\r\n\r\nGET /evil"s, "a\r\n"s}) {
    URLRequest byValue = get(server.url());
    byValue.headers.setValue("X-Fine", evil);
    EXPECT_EQ(send(byValue).code(), Code::invalidRequest) << evil;
    URLRequest byName = get(server.url());
    byName.headers.setValue("X-Evil" + evil, "value");
    EXPECT_EQ(send(byName).code(), Code::invalidRequest) << evil;
    URLRequest byMethod = get(server.url());
    byMethod.httpMethod = "GET" + evil;
    EXPECT_EQ(send(byMethod).code(), Code::invalidRequest) << evil;
  }
  for (const auto* name : {"", "X Evil", "X-Evil:", ":X-Evil", "X\xC3\xA9"}) {
    URLRequest request = get(server.url());
    request.headers.setValue(name, "value");
    EXPECT_EQ(send(request).code(), Code::invalidRequest) << name;
  }
  EXPECT_EQ(server.connectionCount(), 0U);
}

TEST_F(SessionRequests, RequestsCannotForgeTheirLength) {
  const LoopbackServer server([](const ReceivedRequest&) { return response(200); });
  for (const auto* name : {"Content-Length", "content-length", "Transfer-Encoding"}) {
    URLRequest request = post(server.url(), "four");
    request.headers.setValue(name, name[0] == 'T' ? "chunked" : "3");
    EXPECT_EQ(send(request).status(), 200);
    const auto received = server.requests().back();
    EXPECT_EQ(received.body, "four");
    EXPECT_EQ(received.header("Content-Length"), "4");
    EXPECT_EQ(received.header("Transfer-Encoding"), std::nullopt);
  }
  EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(SessionRequests, EveryStatusIsAnAnswer) {
  const LoopbackServer server(
      [](const ReceivedRequest& request) { return response(std::stoi(request.path().substr(1))); });
  for (int status = 200; status < 600; ++status) {
    const auto outcome = send(get(server.url("/" + std::to_string(status))));
    EXPECT_EQ(outcome.status(), status);
    EXPECT_FALSE(outcome.error) << status;
    EXPECT_TRUE(outcome.data) << status;
  }
}

TEST_F(SessionRequests, CookiesComeBackToTheirServerAndPath) {
  using namespace std::chrono;
  const auto expires = floor<seconds>(system_clock::now()) + days(100);
  const auto time = system_clock::to_time_t(expires);
  std::ostringstream narrow;
  narrow << "narrow=1; Path=/login; HttpOnly; Expires="
         << std::put_time(std::gmtime(&time), "%a, %d %b %Y %T GMT");
  const LoopbackServer server([&](const ReceivedRequest& request) {
    if (request.path() == "/login") {
      return response(200, {},
                      {{"Set-Cookie", "session=42; Path=/"},
                       {"Set-Cookie", narrow.str()},
                       {"Set-Cookie", "elsewhere=1; Domain=other.example"}});
    }
    return response(200, request.header("Cookie").value_or("none"));
  });
  useSession({.cookies = CookieStorage::off});
  send(get(server.url("/login")));
  EXPECT_EQ(send(get(server.url("/x"))).text(), "none");
  EXPECT_TRUE(session->cookies().empty());

  useSession({});
  EXPECT_EQ(send(get(server.url("/x"))).text(), "none");
  send(get(server.url("/login")));
  EXPECT_EQ(send(get(server.url("/x"))).text(), "session=42");
  auto cookies = session->cookies();
  std::ranges::sort(cookies, {}, &HTTPCookie::name);
  EXPECT_EQ(cookies, (std::vector<HTTPCookie>{
                         {.name = "narrow",
                          .value = "1",
                          .domain = "127.0.0.1",
                          .path = "/login",
                          .isHTTPOnly = true,
                          .expires = expires},
                         {.name = "session", .value = "42", .domain = "127.0.0.1"},
                     }));
  auto own = get(server.url("/x"));
  own.headers = {{"Cookie", "own=1"}};
  EXPECT_EQ(send(own).text(), "own=1");
  EXPECT_EQ(send(get(server.url("/x"))).text(), "session=42");
  session->clearCookies();
  EXPECT_TRUE(session->cookies().empty());
  EXPECT_EQ(send(get(server.url("/x"))).text(), "none");
  send(get(server.url("/login")));
  EXPECT_EQ(send(get(server.url("/x"))).text(), "session=42");
  useSession({});
  session->clearCookies();
  EXPECT_EQ(send(get(server.url("/x"))).text(), "none");
}

TEST_F(SessionRequests, ProgressCountsBothWaysAndEndsAtTheTotal) {
  const auto body = varied(3'000'000);
  const LoopbackServer server([&](const ReceivedRequest& request) { return response(200, request.body); });
  auto& echo = make(post(server.url(), body));
  std::mutex mutex;
  std::vector<std::int64_t> counts;
  const auto progress = echo.task().progress();
  progress->addObserver([&](const Progress& changed) {
    const std::scoped_lock lock(mutex);
    counts.push_back(changed.completedUnitCount());
  });
  echo.task().resume();
  EXPECT_TRUE(echo.outcome().text() == body);
  EXPECT_TRUE(progress->isFinished());
  EXPECT_EQ(progress->completedUnitCount(), progress->totalUnitCount());
  const std::scoped_lock lock(mutex);
  EXPECT_GT(counts.size(), 2U);
  EXPECT_TRUE(std::ranges::is_sorted(counts));
}

TEST_F(SessionRedirects, KeepOrChangeTheMethodByTheirStatus) {
  struct Case {
    int status;
    const char* method;
    const char* methodAfterwards;
    const char* bodyAfterwards;
  };
  const LoopbackServer server([](const ReceivedRequest& request) {
    if (request.path() == "/end") return response(200, request.method + " " + request.body);
    // The body isn't what the head says, but nobody reads it.
    return response(std::stoi(request.path().substr(1)), "plain",
                    {{"Location", "/end"}, {"Content-Encoding", "gzip"}});
  });
  for (const auto& [status, method, methodAfterwards, bodyAfterwards] : {Case{301, "POST", "GET", ""},
                                                                         {302, "POST", "GET", ""},
                                                                         {303, "POST", "GET", ""},
                                                                         {303, "PUT", "GET", ""},
                                                                         {307, "POST", "POST", "body"},
                                                                         {308, "PUT", "PUT", "body"}}) {
    URLRequest request = post(server.url("/" + std::to_string(status)), "body");
    request.httpMethod = method;
    const auto outcome = send(request);
    EXPECT_EQ(outcome.text(), std::string(methodAfterwards) + " " + bodyAfterwards) << status << method;
    EXPECT_EQ(outcome.response->url()->absoluteString(), server.url("/end"));
  }
}

TEST_F(SessionRedirects, LeadToNoOtherProtocol) {
  const std::vector<std::string> refused{
      "file:///etc/passwd", "http:///x",  "HTTP:/x",        "http:x",     "///x",     "////x",
      "http://:80/",        "https:///x", "http://user@/x", " http:///x", "http://?x"};
  const LoopbackServer server([&](const ReceivedRequest& request) {
    return redirect(refused.at(std::stoul(request.path().substr(1))));
  });
  for (std::size_t index = 0; index < refused.size(); ++index) {
    EXPECT_EQ(send(get(server.url("/" + std::to_string(index)))).code(), Code::unsupportedURL)
        << refused[index];
  }
}
