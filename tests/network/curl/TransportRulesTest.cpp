#include <curl/curl.h>

#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/network/curl/Authorization.h>
#include <tilvanego/network/curl/IncomingResponse.h>
#include <tilvanego/network/curl/Proxies.h>
#include <tilvanego/network/curl/RequestRules.h>
#include <tilvanego/network/curl/Transfer.h>
#include <tilvanego/values/Base64.h>

#include "tests/support/AllocationCount.h"
#include "tests/support/Test.h"

using namespace tilvanego;
using namespace tilvanego::detail;
using Code = TransportError::Code;
using Fields = std::vector<HTTPHeaders::Field>;
using Method = URLProtectionSpace::AuthenticationMethod;

namespace {

constexpr std::size_t limit = std::size_t{64} * 1024;

URLRequest request(const std::string& method, const std::string& url) {
  URLRequest made;
  made.url = URL::parse(url).value();
  made.httpMethod = method;
  return made;
}

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
  EXPECT_EQ(redirected(304, "https://a.test/y").value(), std::nullopt);
}

TEST(TransportRules, AnAnnouncedLengthIsNotBelieved) {
  Body body;
  body.expect(std::numeric_limits<std::size_t>::max());
  std::string sent;
  const auto most = test::peakBytesOf([&] {
    for (int piece = 0; piece < 300; ++piece) {
      const std::string bytes(16 * 1024, static_cast<char>('a' + piece % 26));
      body.append(bytes.data(), bytes.size());
      sent += bytes;
    }
  });
  EXPECT_LE(most, 16 * sent.size());
  EXPECT_TRUE(body.take().text() == sent);
  // The memory of a small body serves the next one, which has its own bytes.
  body.append("first", 5);
  const auto first = body.take();
  body.append("next", 4);
  EXPECT_EQ(body.take().text(), "next");
  EXPECT_EQ(first.text(), "first");
}

TEST(TransportRules, NoPasswordOfAProxyAndNoLineBreakIsInAnErrorsText) {
  const auto error = transportError(CURLE_COULDNT_RESOLVE_PROXY, "Unsupported proxy 'x://till:secret@p'");
  EXPECT_EQ(error.code, Code::cannotFindHost);
  EXPECT_EQ(error.description().find("secret"), std::string::npos);
  EXPECT_FALSE(
      transportError(CURLE_COULDNT_RESOLVE_PROXY, "Unsupported 'x\r\ny'").description().contains('\n'));
  EXPECT_EQ(transportError(CURLE_RECV_ERROR, "it broke").description(), "network connection lost: it broke");
}

TEST(TransportRules, AnAlertAboutTheClientsCertificateIsToldAsThat) {
  for (const auto* alert :
       {"sslv3 alert bad certificate", "ssl/tls alert bad certificate", "tlsv1 alert unknown ca",
        "tlsv13 alert certificate required", "ssl/tls alert certificate expired"}) {
    for (const auto code : {CURLE_SSL_CONNECT_ERROR, CURLE_RECV_ERROR, CURLE_SEND_ERROR}) {
      EXPECT_EQ(transportError(code, std::string("error:0A000412:SSL routines::") + alert).code,
                Code::clientCertificateRefused);
    }
  }
  EXPECT_EQ(transportError(CURLE_SSL_CONNECT_ERROR, "sslv3 alert handshake failure").code,
            Code::secureConnectionFailed);
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
  const std::pair<const char*, const char*> environment[] = {{"http_proxy", "one.test:1"},
                                                             {"ALL_PROXY", "http://two.test:2"},
                                                             {"NO_PROXY", "localhost"},
                                                             {"HTTP_PROXY", "evil.test"}};
  for (const auto& [name, value] : environment) setenv(name, value, 1);
  const auto proxies = Proxies::from(std::nullopt);
  for (const auto& [name, value] : environment) unsetenv(name);
  EXPECT_EQ(proxies.forHTTP.url, "one.test:1");
  EXPECT_EQ(proxies.forHTTPS.url, "http://two.test:2");
  EXPECT_EQ(proxies.exceptions, "localhost");

  const auto none = Proxies::from("");
  EXPECT_EQ(none.forHTTP.url + none.forHTTPS.url + none.exceptions, "");
}

TEST(Challenges, TheStrongestThatCanBeAnsweredIsTakenFromWhateverTheServerWrites) {
  using Expected = std::pair<Method, std::string>;
  const std::pair<std::string, std::optional<Expected>> cases[] = {
      {"Basic realm=\"shop\"", Expected{Method::httpBasic, "shop"}},
      {"bAsIc REALM=shop", Expected{Method::httpBasic, "shop"}},
      {"Basic", Expected{Method::httpBasic, ""}},
      {"Basic realm = \"a \\\"b\\\", Digest nonce=1\"",
       Expected{Method::httpBasic, "a \"b\", Digest nonce=1"}},
      {"Basic realm=\"b\", Digest realm=\"d\", nonce=\"n\"", Expected{Method::httpDigest, "d"}},
      {"Digest realm=\"d\", nonce=\"n\", algorithm=SHA-256, qop=\"auth,auth-int\", Basic realm=\"b\"",
       Expected{Method::httpDigest, "d"}},
      {"Basic realm=\"b\", Digest nonce=n, algorithm=SHA-512-256, Digest nonce=n, realm=d, algorithm=MD5",
       Expected{Method::httpDigest, "d"}},
      {"Digest nonce=n, qop=auth-int, Digest nonce=n, algorithm=MD5-sess, Digest nonce=\"\x01\", Basic "
       "realm=b",
       Expected{Method::httpBasic, "b"}},
      {"Digest nonce=n, qop=\" auth-int , Auth\", realm=\"\xE9\"", Expected{Method::httpDigest, "\xC3\xA9"}},
      {"Digest realm=\"d\"", std::nullopt},
      {"Negotiate YII=, NTLM, Bearer realm=\"x\"", std::nullopt},
      {"NTLM TlRMTVNTUAAC, Basic realm=b", Expected{Method::httpBasic, "b"}},
      {", ,,Basic realm=\"never closed", Expected{Method::httpBasic, "never closed"}},
      {"=\"=,;\\\" (", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [field, expected] : cases) {
    const auto challenges = parseChallenges(field);
    const auto* const challenge = supportedChallenge(challenges);
    const auto space = challenge ? spaceOf(*challenge) : URLProtectionSpace();
    EXPECT_EQ(challenge ? std::optional(Expected(space.authenticationMethod, space.realm)) : std::nullopt,
              expected)
        << field;
  }
}

TEST(Challenges, AResponseIsTheOneThatTheStandardsGiveForTheirExamples) {
  // The bytes of the client's nonce in RFC 7616, section 3.9.1.
  struct Examples final : RandomSource {
    bool fill(std::span<std::uint8_t> bytes) override {
      const auto nonce = base64Decode("f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ").value();
      std::ranges::copy(nonce, bytes.begin());
      return nonce.size() == bytes.size();
    }
  } random;
  const URLCredential mufasa{"Mufasa", "Circle of Life"};
  const std::string newer =
      "Digest realm=\"http-auth@example.org\", nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", "
      "opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\"";
  const std::string older =
      "Digest realm=\"testrealm@host.com\", nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\"";
  struct Case {
    std::string challenge;
    URLCredential credential;
    std::vector<std::string> parts;
  };
  const Case cases[] = {
      {newer + ", qop=\"auth, auth-int\", algorithm=MD5",
       mufasa,
       {"Digest response=\"8ca523f5e9506fed4657c9700eebdbec\", username=\"Mufasa\", ",
        ", uri=\"/dir/index.html\", algorithm=MD5, qop=auth, nc=00000001, "
        "cnonce=\"f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ\", "
        "opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\""}},
      {newer + ", qop=auth, algorithm=SHA-256, userhash=TRUE",
       mufasa,
       {"response=\"753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1\"",
        "username=\"a947aad205e80e429958a387394944c6b496301e79f89d35a4cc23b6ee12b5b6\"", ", userhash=true"}},
      {newer + ", qop=auth, algorithm=md5-SESS",
       mufasa,
       {"response=\"e783283f46242139c486a698fec7211d\"", "algorithm=md5-SESS"}},
      {newer + ", qop=auth, algorithm=SHA-256-sess",
       mufasa,
       {"response=\"2fd51b3a77ad75bad6afad6003e818d767133c46d9e2749e7f5232ae1ea3efd7\""}},
      {older,
       {"Mufasa", "Circle Of Life"},
       {"response=\"670fd8c2df070c60b045671b8b24ff02\", username=\"Mufasa\", "}},
      {older + ", algorithm=MD5", {"a\"b\\", "x"}, {"username=\"a\\\"b\\\\\""}},
      {"Basic realm=x", {"till", "s3cret pass"}, {"Basic dGlsbDpzM2NyZXQgcGFzcw=="}},
  };
  for (const auto& [challenge, credential, parts] : cases) {
    const auto challenges = parseChallenges(challenge);
    auto authorization = Authorization::make(*supportedChallenge(challenges), credential, random).value();
    const auto field = authorization.field("GET", "/dir/index.html");
    for (const auto& part : parts) EXPECT_TRUE(field.contains(part)) << field << "\nlacks " << part;
    EXPECT_EQ(field.contains("qop"), challenge.contains("qop"));
    EXPECT_EQ(authorization.field("GET", "/").contains("nc=00000002"), challenge.contains("qop"));
  }
  EXPECT_FALSE(Authorization::make(parseChallenges(older).front(), {"a\r\nX: y", ""}, random));
}

TEST(ResponseHead, FieldsAreReadLineByLine) {
  struct Case {
    std::string lines;
    Fields fields;
    std::string statusLine = "HTTP/1.1 200 OK";
  };
  const std::string ok = "HTTP/1.1 200 OK\r\n";
  const Case cases[] = {
      {ok + "A: 1\r\nb:\t2 \r\n", {{"A", "1"}, {"b", "2"}}},
      // HTTP/2 has no reason, and servers before it may give none.
      {"HTTP/2 204 \r\n", {}, "HTTP/2 204"},
      {"HTTP/1.1 200 \xE9\r\nA: \xE9\r\n", {{"A", "\xC3\xA9"}}, "HTTP/1.1 200 \xC3\xA9"},
      {ok + "A: 1\r\nB: x\r\na: 2\r\n", {{"A", "1, 2"}, {"B", "x"}}},
      // A value may go on in further lines; those without anything in them add nothing.
      {ok + "A: 1\r\n 2\r\n\t\r\n  3\r\n", {{"A", "1 2 3"}}},
      {ok + "A:\r\n 1\r\nB:\r\n", {{"A", "1"}, {"B", ""}}},
      {ok + "no colon\r\nBad Name: 1\r\n: 1\r\n 2\r\n", {}},
      {"HTTP/1.1 100 Continue\r\nA: 1\r\n\r\n" + ok + "B: 2\r\n", {{"B", "2"}}},
      {ok + "HTTP/1.1: 1\r\nA: 1\r\n", {{"A", "1"}}},
  };
  for (const Case& one : cases) {
    ResponseHead head(limit);
    for (std::string_view rest = one.lines; !rest.empty(); rest.remove_prefix(rest.find('\n') + 1)) {
      EXPECT_TRUE(head.addLine(std::string(rest.substr(0, rest.find('\n') + 1)))) << one.lines;
    }
    EXPECT_TRUE(head.addLine("\r\n") && head.isComplete());
    const detail::HTTPHead read = detail::readHead(head.lines());
    EXPECT_EQ(read.statusLine, one.statusLine);
    EXPECT_TRUE(std::ranges::equal(read.headers.fields(), one.fields)) << one.lines;
  }
}

TEST(ResponseHead, TrailersAreLeftOut) {
  ResponseHead head(limit);
  for (const char* line : {"HTTP/1.1 200 OK\r\n", "A: 1\r\n", "\r\n"}) EXPECT_TRUE(head.addLine(line));
  EXPECT_TRUE(head.isComplete());
  head.bodyBegins();
  EXPECT_TRUE(head.addLine("A: 2\r\n"));
  EXPECT_EQ(detail::readHead(head.lines()).headers, (HTTPHeaders{{"A", "1"}}));
}

TEST(ResponseHead, ALengthIsOneNumber) {
  struct Case {
    std::vector<std::string> values;
    bool broken;
  };
  for (const auto& [values, broken] :
       {Case{{"5"}, false}, Case{{" 5\t"}, false}, Case{{"5", "5"}, false}, Case{{"5, 5"}, false},
        Case{{"9223372036854775807"}, false}, Case{{"9223372036854775808"}, true}, Case{{"5", "3"}, true},
        Case{{"3, 5"}, true}, Case{{""}, true}, Case{{"+5"}, true}, Case{{"-1"}, true}, Case{{"5x"}, true},
        Case{{"99999999999999999999"}, true}}) {
    ResponseHead head(limit);
    EXPECT_TRUE(head.addLine("HTTP/1.1 200 OK\r\n"));
    for (const auto& value : values) EXPECT_TRUE(head.addLine("content-Length:" + value + "\r\n"));
    EXPECT_EQ(head.hasBrokenLength(), broken) << values.front();
    EXPECT_TRUE(head.addLine("\r\n") && head.addLine("HTTP/1.1 200 OK\r\n"));
    EXPECT_FALSE(head.hasBrokenLength()) << "the next head's";
  }
}

TEST(ResponseHead, NoLineFoldsIntoTheStatusLine) {
  for (const char* folded : {" folded: x\r\n", "\tx\r\n"}) {
    ResponseHead head(limit);
    EXPECT_TRUE(head.addLine("HTTP/1.1 103 Early Hints\r\n") && head.addLine("A: 1\r\n") &&
                head.addLine(folded));
    EXPECT_TRUE(head.addLine("\r\n") && head.addLine("HTTP/1.1 200 OK\r\n"));
    EXPECT_FALSE(head.addLine(folded));
  }
}

TEST(ResponseHead, FieldsAndBytesHaveALimit) {
  ResponseHead many(limit);
  EXPECT_TRUE(many.addLine("HTTP/1.1 200 OK\r\n"));
  for (std::size_t i = 0; i < ResponseHead::maxFields; ++i) EXPECT_TRUE(many.addLine("A: 1\r\n"));
  EXPECT_FALSE(many.addLine("A: 1\r\n"));

  const std::string start = "HTTP/1.1 200 OK\r\n";
  const std::string field = "A: \r\n";
  const std::string value(limit - start.size() - field.size(), 'x');
  ResponseHead full(limit);
  EXPECT_TRUE(full.addLine(start));
  EXPECT_TRUE(full.addLine("A: " + value + "\r\n"));
  EXPECT_FALSE(full.addLine("\r\n"));
  EXPECT_FALSE(ResponseHead(limit).addLine("HTTP/1.1 200 " + std::string(limit, 'x')));
}

TEST(ResponseHead, InterimHeadsAndTrailersCountToo) {
  for (const bool inBody : {false, true}) {
    for (const std::string& field : {std::string("A: 1\r\n"), "A: " + std::string(1000, 'x') + "\r\n"}) {
      ResponseHead head(limit);
      std::size_t bytes = 0;
      std::size_t fields = 0;
      const auto accepts = [&](const std::string& line) {
        bytes += line.size();
        fields += line == field ? 1U : 0U;
        return head.addLine(line);
      };
      EXPECT_TRUE(accepts("HTTP/1.1 103 Early\r\n") && accepts(field) && accepts("\r\n"));
      if (inBody) head.bodyBegins();
      while (accepts(field) && (inBody || (accepts("\r\n") && accepts("HTTP/1.1 103 Early\r\n")))) {
      }
      EXPECT_TRUE(fields == ResponseHead::maxFields + 1 || (bytes > limit && bytes < limit + 2000)) << inBody;
      EXPECT_LE(fields, ResponseHead::maxFields + 1);
    }
  }
}
