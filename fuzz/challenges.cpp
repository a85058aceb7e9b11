// The challenges of a "WWW-Authenticate" field. Challenges that were read are written with every value in
// quotes, and must read as the same. The response to the supported challenge is a field that repeats its
// nonce.

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/network/curl/Authorization.h>
#include <tilvanego/values/ASCII.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;
using detail::Challenge;

std::string inQuotes(std::string_view value) {
  std::string text = "\"";
  for (const char c : value) {
    if (c == '"' || c == '\\') text += '\\';
    text += c;
  }
  return text + '"';
}

std::string written(const std::vector<Challenge>& challenges) {
  std::string text;
  for (const Challenge& challenge : challenges) {
    if (!text.empty()) text += ", ";
    text += challenge.scheme;
    std::string_view separator = " ";
    for (const auto& [name, value] : challenge.parameters) {
      text.append(separator).append(name).append("=").append(inQuotes(value));
      separator = ", ";
    }
  }
  return text;
}

bool areEqual(const Challenge& a, const Challenge& b) {
  return a.scheme == b.scheme && a.parameters == b.parameters;
}

struct NoRandomness final : RandomSource {
  bool fill(std::span<std::uint8_t> bytes) override {
    std::ranges::fill(bytes, std::uint8_t{0});
    return true;
  }
};

void checkSupported(const std::vector<Challenge>& challenges) {
  const Challenge* const challenge = detail::supportedChallenge(challenges);
  if (!challenge) return;
  const bool isDigest = detail::spaceOf(*challenge).authenticationMethod ==
                        URLProtectionSpace::AuthenticationMethod::httpDigest;
  require(detail::asciiLowercased(challenge->scheme) == (isDigest ? "digest" : "basic"));
  NoRandomness random;
  auto authorization = detail::Authorization::make(*challenge, {"till", "s3cret"}, random);
  require(authorization.has_value());
  for (const bool renewed : {false, true}) {
    if (renewed) static_cast<void>(authorization->renew(*challenge));
    const std::string field = authorization->field("GET", "/path");
    require(!detail::hasControlCharacter(field));
    const auto sent = detail::parseChallenges(field);
    if (!isDigest) continue;
    require(sent.size() == 1 && sent.front().scheme == "Digest" && sent.front().parameter("response"));
    for (const char* name : {"nonce", "opaque"}) {
      require(sent.front().parameter(name) == challenge->parameter(name));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string field(reinterpret_cast<const char*>(data), size);
  const auto challenges = detail::parseChallenges(field);
  for (const Challenge& challenge : challenges) {
    require(detail::isToken(challenge.scheme));
    for (const auto& [name, value] : challenge.parameters) {
      require(detail::isToken(name) && name == detail::asciiLowercased(name));
    }
  }
  const auto again = detail::parseChallenges(written(challenges));
  require(std::ranges::equal(challenges, again, areEqual));
  checkSupported(challenges);
  return 0;
}
