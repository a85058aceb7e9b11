#include <tilvanego/network/curl/Challenges.h>

#include "tests/support/Test.h"

using namespace tilvanego;
using namespace tilvanego::detail;
using Method = URLProtectionSpace::AuthenticationMethod;

namespace {

struct Expected {
  Method method;
  std::string realm;
};

}  // namespace

TEST(Challenges, TheStrongestThatCanBeAnsweredIsTakenFromWhateverTheServerWrites) {
  struct Case {
    std::string field;
    std::optional<Expected> expected;
  };
  const Case cases[] = {
      {"Basic realm=\"shop\"", Expected{Method::httpBasic, "shop"}},
      {"bAsIc REALM=shop", Expected{Method::httpBasic, "shop"}},
      {"Basic", Expected{Method::httpBasic, ""}},
      {"Basic realm = \"a \\\"b\\\", Digest nonce=1\"",
       Expected{Method::httpBasic, "a \"b\", Digest nonce=1"}},
      {"Basic realm=\"b\", Digest realm=\"d\", nonce=\"n\"", Expected{Method::httpDigest, "d"}},
      {"Digest realm=\"d\", nonce=\"n\", algorithm=SHA-256, qop=\"auth,auth-int\", Basic realm=\"b\"",
       Expected{Method::httpDigest, "d"}},
      // The first digest is the one that libcurl takes.
      {"Digest realm=\"d\", nonce=\"n\", algorithm=SHA-512-256, Digest nonce=\"n\", Basic realm=\"b\"",
       Expected{Method::httpBasic, "b"}},
      {"Digest realm=\"d\"", std::nullopt},
      {"Negotiate YII=, NTLM, Bearer realm=\"x\"", std::nullopt},
      {"NTLM TlRMTVNTUAAC, Basic realm=b", Expected{Method::httpBasic, "b"}},
      {", ,,Basic realm=\"never closed", Expected{Method::httpBasic, "never closed"}},
      {"=\"=,;\\\" (", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [field, expected] : cases) {
    const auto space = supportedSpace(parseChallenges(field));
    ASSERT_EQ(space.has_value(), expected.has_value()) << field;
    if (!space) continue;
    EXPECT_EQ(space->authenticationMethod, expected->method) << field;
    EXPECT_EQ(space->realm, expected->realm) << field;
  }
}
