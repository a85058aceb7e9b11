#include "tests/support/Authentication.h"

#include <array>
#include <iomanip>
#include <map>
#include <sstream>

#include <openssl/evp.h>

namespace tilvanego::test {
namespace {

constexpr std::string_view nonce = "dcd98b7102dd2f0e8b11d0f600bfb0c093";

// Of the parts with colons between them.
std::string hash(const char* algorithm, std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const auto part : parts) text.append(text.empty() ? "" : ":").append(part);
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes;
  std::size_t size = 0;
  EVP_Q_digest(nullptr, algorithm, nullptr, text.data(), text.size(), bytes.data(), &size);
  std::ostringstream digits;
  digits << std::hex << std::setfill('0');
  for (std::size_t index = 0; index < size; ++index) digits << std::setw(2) << int{bytes[index]};
  return digits.str();
}

bool admitsDigest(const ReceivedRequest& request, const std::string& credentials, const char* algorithm,
                  bool isProxy) {
  std::map<std::string, std::string> said;
  std::string_view rest = credentials;
  for (std::size_t equals = 0; (equals = rest.find('=')) != std::string_view::npos;) {
    auto name = rest.substr(0, equals);
    name.remove_prefix(name.find_last_of(" ,") + 1);
    const bool isQuoted = rest.substr(equals + 1).starts_with('"');
    rest.remove_prefix(equals + (isQuoted ? 2 : 1));
    const auto value = rest.substr(0, rest.find_first_of(isQuoted ? "\"" : ", "));
    said.emplace(name, value);
    rest.remove_prefix(value.size());
  }
  const auto secret = hash(algorithm, {"till", "shop", "s3cret pass"});
  const auto asked = hash(algorithm, {request.method, said["uri"]});
  return said["username"] == "till" && said["realm"] == "shop" && said["nonce"] == nonce &&
         (said["uri"] == request.target || (isProxy && request.target.ends_with(said["uri"]))) &&
         said["qop"] == "auth" && said["nc"].size() == 8 && !said["cnonce"].empty() &&
         said["algorithm"] == algorithm &&
         said["response"] == hash(algorithm, {secret, nonce, said["nc"], said["cnonce"], "auth", asked});
}

}  // namespace

LoopbackServer::Handler guarded(Scheme scheme, bool isProxy) {
  return [=](const ReceivedRequest& request) {
    const char* const algorithm = scheme == Scheme::digestMD5 ? "MD5" : "SHA-256";
    const auto credentials = request.header(isProxy ? "Proxy-Authorization" : "Authorization").value_or("");
    if (scheme == Scheme::basic
            ? credentials == "Basic dGlsbDpzM2NyZXQgcGFzcw=="
            : credentials.starts_with("Digest ") && admitsDigest(request, credentials, algorithm, isProxy)) {
      return response(200, request.method + " " + request.body);
    }
    std::ostringstream challenge;
    challenge << (scheme == Scheme::basic ? "Basic" : "Digest") << R"( realm="shop")";
    if (scheme != Scheme::basic) {
      challenge << R"(, qop="auth", algorithm=)" << algorithm << R"(, nonce=")" << nonce << '"';
    }
    return response(isProxy ? 407 : 401, "who is it?",
                    {{isProxy ? "Proxy-Authenticate" : "WWW-Authenticate", challenge.str()}});
  };
}

}  // namespace tilvanego::test
