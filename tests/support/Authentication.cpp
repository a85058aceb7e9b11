#include "tests/support/Authentication.h"

#include <array>
#include <cctype>

#include <openssl/evp.h>

#include <tilvanego/values/Base64.h>

namespace tilvanego::test {
namespace {

constexpr std::string_view nonce = "dcd98b7102dd2f0e8b11d0f600bfb0c093";

std::string hexadecimalHash(std::string_view algorithm, std::string_view text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash;
  unsigned size = 0;
  const auto* const digest = algorithm == "MD5" ? EVP_md5() : EVP_sha256();
  EVP_Digest(text.data(), text.size(), hash.data(), &size, digest, nullptr);
  std::string digits;
  for (unsigned index = 0; index < size; ++index) {
    digits += "0123456789abcdef"[hash[index] >> 4U];
    digits += "0123456789abcdef"[hash[index] & 0xFU];
  }
  return digits;
}

// name=value or name="value", separated by commas.
std::map<std::string, std::string> parametersOf(std::string_view text) {
  std::map<std::string, std::string> parameters;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(" ,"), text.size()));
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) return parameters;
    const std::string name(text.substr(0, equals));
    text.remove_prefix(equals + 1);
    const bool quoted = text.starts_with('"');
    if (quoted) text.remove_prefix(1);
    const auto value = text.substr(0, text.find_first_of(quoted ? "\"" : ", "));
    parameters[name] = value;
    text.remove_prefix(std::min(value.size() + 1, text.size()));
  }
}

std::string joined(std::initializer_list<std::string_view> parts) {
  std::string all;
  for (const auto part : parts) {
    if (!all.empty()) all += ':';
    all += part;
  }
  return all;
}

}  // namespace

std::string digestResponse(std::string_view algorithm, std::string_view user, std::string_view realm,
                           std::string_view password, std::string_view method,
                           const std::map<std::string, std::string>& parameters) {
  const auto value = [&](const char* name) -> std::string_view {
    const auto found = parameters.find(name);
    return found == parameters.end() ? std::string_view() : found->second;
  };
  const auto secret = hexadecimalHash(algorithm, joined({user, realm, password}));
  const auto request = hexadecimalHash(algorithm, joined({method, value("uri")}));
  return hexadecimalHash(
      algorithm, joined({secret, value("nonce"), value("nc"), value("cnonce"), value("qop"), request}));
}

bool Authenticator::admits(const ReceivedRequest& request) const {
  const auto field = request.header(isProxy_ ? "Proxy-Authorization" : "Authorization");
  if (!field) return false;
  const std::string_view prefix = scheme_ == Scheme::basic ? "Basic " : "Digest ";
  if (!field->starts_with(prefix)) return false;
  const auto credentials = std::string_view(*field).substr(prefix.size());
  return scheme_ == Scheme::basic ? admitsBasic(credentials) : admitsDigest(request, credentials);
}

bool Authenticator::admitsBasic(std::string_view credentials) const {
  const auto expected = joined({user, password});
  return credentials ==
         base64Encode({reinterpret_cast<const unsigned char*>(expected.data()), expected.size()});
}

bool Authenticator::admitsDigest(const ReceivedRequest& request, std::string_view credentials) const {
  const auto algorithm = scheme_ == Scheme::digestMD5 ? "MD5" : "SHA-256";
  auto parameters = parametersOf(credentials);
  return parameters["username"] == user && parameters["realm"] == realm && parameters["nonce"] == nonce &&
         (parameters["uri"] == request.target || (isProxy_ && request.target.ends_with(parameters["uri"]))) &&
         parameters["qop"] == "auth" && parameters["nc"].size() == 8 && !parameters["cnonce"].empty() &&
         parameters["algorithm"] == algorithm &&
         parameters["response"] ==
             digestResponse(algorithm, user, realm, password, request.method, parameters);
}

ServerResponse Authenticator::challenge() const {
  std::string value =
      scheme_ == Scheme::basic ? "Basic realm=\"shop\"" : "Digest realm=\"shop\", qop=\"auth\"";
  if (scheme_ != Scheme::basic) {
    value.append(", algorithm=").append(scheme_ == Scheme::digestMD5 ? "MD5" : "SHA-256");
    value.append(", nonce=\"").append(nonce).append("\"");
  }
  return response(isProxy_ ? 407 : 401, "who is it?",
                  {{isProxy_ ? "Proxy-Authenticate" : "WWW-Authenticate", std::move(value)}});
}

}  // namespace tilvanego::test
