#include <curl/curl.h>

#include <tilvanego/network/curl/Body.h>
#include <tilvanego/network/curl/CurlErrors.h>
#include <tilvanego/network/curl/Proxies.h>
#include <tilvanego/network/curl/RequestRules.h>

#include "tests/support/Test.h"

using namespace tilvanego;
using namespace tilvanego::detail;
using Code = TransportError::Code;

namespace {

URLRequest request(const std::string& method, const std::string& url) {
  URLRequest made;
  made.url = URL::parse(url).value();
  made.httpMethod = method;
  return made;
}

// For as long as it lives.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) { setenv(name, value, 1); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  ~Environment() { unsetenv(name_); }

 private:
  const char* name_;
};

}  // namespace

TEST(TransportRules, ARedirectKeepsWhatItsTargetMayHave) {
  struct Case {
    std::string from;
    std::string location;
    bool keepsSecrets;
  };
  for (const auto& [from, location, keepsSecrets] :
       {Case{"http://a.test/x", "http://a.test/y", true}, Case{"http://a.test/x", "http://A.test:80/", true},
        Case{"http://a.test/x", "http://a.test:8080/", false},
        Case{"http://a.test/", "https://a.test/", false}, Case{"http://a.test/x", "http://b.test/", false},
        Case{"http://a.test/x", "http://a.test@b.test/", false}}) {
    auto original = request("POST", from);
    original.httpBody = Data(std::string_view("body"));
    original.headers = {
        {"Authorization", "secret"}, {"cookie", "secret"}, {"Content-Type", "x/y"}, {"X", "1"}};
    const auto kept = redirectedRequest(original, 307, location, location).value().value();
    EXPECT_EQ(kept.headers.value("Authorization").has_value(), keepsSecrets) << location;
    EXPECT_EQ(kept.headers.value("Cookie").has_value(), keepsSecrets) << location;
    EXPECT_EQ(kept.httpBody, original.httpBody);
    EXPECT_EQ(kept.headers.value("X"), "1");
    EXPECT_FALSE(kept.url->user());

    const auto turned = redirectedRequest(original, 303, location, location).value().value();
    EXPECT_EQ(turned.httpMethod, "GET");
    EXPECT_FALSE(turned.httpBody);
    EXPECT_FALSE(turned.headers.value("Content-Type"));
  }
}

TEST(TransportRules, ARedirectThatIsNoSafePlaceIsRefused) {
  const auto secure = request("GET", "https://a.test/");
  const auto redirected = [&](int status, const char* location) {
    return redirectedRequest(secure, status, location, location);
  };
  EXPECT_EQ(redirected(302, "http://a.test/").error().code, Code::redirectRefused);
  for (const auto* location : {"file:///etc/passwd", "ftp://a.test/", "javascript:1", "http:///x"}) {
    EXPECT_EQ(redirected(302, location).error().code, Code::unsupportedURL) << location;
  }
  EXPECT_EQ(redirected(304, "https://a.test/y").value(), std::nullopt);
}

TEST(TransportRules, AnAnnouncedLengthIsNotBelieved) {
  Body body;
  body.expect(std::numeric_limits<std::size_t>::max());
  std::string sent;
  for (int piece = 0; piece < 300; ++piece) {
    const std::string bytes(16 * 1024, static_cast<char>('a' + piece % 26));
    body.append(bytes.data(), bytes.size());
    sent += bytes;
  }
  const auto received = body.take();
  EXPECT_TRUE(std::string(received.begin(), received.end()) == sent);
  EXPECT_LE(received.capacity(), 16 * sent.size());
}

TEST(TransportRules, NoPasswordOfAProxyIsInAnErrorsText) {
  const auto error = transportError(CURLE_COULDNT_RESOLVE_PROXY, "Unsupported proxy 'x://till:secret@p'");
  EXPECT_EQ(error.code, Code::cannotFindHost);
  EXPECT_EQ(error.description().find("secret"), std::string::npos);
  EXPECT_EQ(transportError(CURLE_RECV_ERROR, "it broke").description(), "network connection lost: it broke");
}

TEST(TransportRules, AProxysURLIsTakenApart) {
  struct Case {
    std::string text;
    std::string url;
    std::optional<URLCredential> credential;
  };
  for (const auto& [text, url, credential] :
       {Case{"http://till:p%40ss:x@proxy.test:3128/", "http://proxy.test:3128/",
             URLCredential{"till", "p@ss:x"}},
        Case{"till@proxy.test", "proxy.test", URLCredential{"till", ""}},
        Case{"http://a@b:c@proxy.test", "http://proxy.test", URLCredential{"a@b", "c"}},
        Case{"http://proxy.test/a@b", "http://proxy.test/a@b", {}}, Case{"", "", {}}}) {
    EXPECT_EQ(Proxy::from(text), (Proxy{url, credential})) << text;
  }
}

TEST(TransportRules, TheEnvironmentNamesProxiesWhereTheConfigurationDoesNot) {
  const Environment plain("http_proxy", "one.test:1");
  const Environment fallback("ALL_PROXY", "http://two.test:2");
  const Environment exceptions("NO_PROXY", "localhost");
  const Environment cgi("HTTP_PROXY", "evil.test");
  const auto proxies = Proxies::from(std::nullopt);
  EXPECT_EQ(proxies.forHTTP.url, "one.test:1");
  EXPECT_EQ(proxies.forHTTPS.url, "http://two.test:2");
  EXPECT_EQ(proxies.exceptions, "localhost");

  const auto none = Proxies::from("");
  EXPECT_EQ(none.forHTTP.url + none.forHTTPS.url + none.exceptions, "");
}
