// The challenges of a "WWW-Authenticate" field. Challenges that were read are written with every value in
// quotes, and must read as the same. The supported challenge has a realm and a method of the field.

#include <tilvanego/network/curl/Challenges.h>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/values/ASCII.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;
using detail::Challenge;

std::string quoted(std::string_view value) {
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
      text.append(separator).append(name).append("=").append(quoted(value));
      separator = ", ";
    }
  }
  return text;
}

bool areEqual(const Challenge& a, const Challenge& b) {
  return a.scheme == b.scheme && a.parameters == b.parameters;
}

void checkSupported(const std::vector<Challenge>& challenges) {
  const auto space = detail::supportedSpace(challenges);
  if (!space) return;
  const bool isDigest = space->authenticationMethod == URLProtectionSpace::AuthenticationMethod::httpDigest;
  require(std::ranges::any_of(challenges, [&](const Challenge& challenge) {
    return detail::asciiLowercased(challenge.scheme) == (isDigest ? "digest" : "basic") &&
           challenge.parameter("realm").value_or("") == space->realm &&
           (!isDigest || challenge.parameter("nonce").has_value());
  }));
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
