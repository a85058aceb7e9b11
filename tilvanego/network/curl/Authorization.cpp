#include <tilvanego/network/curl/Authorization.h>

#include <array>
#include <charconv>
#include <cstddef>
#include <initializer_list>
#include <span>

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Base64.h>

namespace tilvanego::detail {

namespace {

/// A multiple of 3, so that the base64 of it has no padding.
constexpr std::size_t clientNonceSize = 33;

std::string hexadecimal(std::span<const unsigned char> bytes) {
  static constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const unsigned byte : bytes) text.append({digits[byte >> 4U], digits[byte & 15U]});
  return text;
}

std::string eightDigits(std::uint32_t number) {
  std::array<char, 8> digits{};
  const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
  const auto count = static_cast<std::size_t>(end - digits.data());
  return std::string(digits.size() - count, '0').append(digits.data(), count);
}

std::string basicField(const URLCredential& credential) {
  std::string text;
  const WipedAtEnd wiped(text);
  makeRoom(text, credential.user.size() + 1 + credential.password.size());
  text.append(credential.user).append(":").append(credential.password);
  std::string encoded = base64Encode({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  const WipedAtEnd wipedEncoded(encoded);
  return "Basic " + encoded;
}

/// Returns the hash of the parts with ":" between them, or an empty text if OpenSSL doesn't allow it.
std::string digestOf(const Challenge& challenge, std::initializer_list<std::string_view> parts) {
  std::string text;
  const WipedAtEnd wiped(text);
  for (const auto* part = parts.begin(); part != parts.end(); ++part) {
    makeRoom(text, part->size() + 1);
    if (part != parts.begin()) text.push_back(':');
    text.append(*part);
  }
  const bool isMD5 =
      equalIgnoringASCIICase(challenge.parameter("algorithm").value_or("md5").substr(0, 3), "md5");
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
  std::size_t size = 0;
  const char* const name = isMD5 ? "MD5" : "SHA256";
  const bool isDone = EVP_Q_digest(nullptr, name, nullptr, text.data(), text.size(), hash.data(), &size) == 1;
  std::string digest = isDone ? hexadecimal(std::span(hash).first(size)) : std::string();
  OPENSSL_cleanse(hash.data(), hash.size());
  return digest;
}

bool isTrue(const Challenge& challenge, std::string_view name) {
  return equalIgnoringASCIICase(challenge.parameter(name).value_or(""), "true");
}

void append(std::string& field, std::string_view name, std::string_view value) {
  field.append(", ").append(name).append("=").append(value);
}

void appendQuoted(std::string& field, std::string_view name, std::string_view value) {
  append(field, name, "\"");
  for (const char c : value) {
    if (c == '"' || c == '\\') field.push_back('\\');
    field.push_back(c);
  }
  field.push_back('"');
}

}  // namespace

std::optional<Authorization> Authorization::make(const Challenge& challenge, const URLCredential& credential,
                                                 RandomSource& random) {
  Authorization made(challenge);
  if (!isDigest(challenge)) {
    made.secret_ = basicField(credential);
    return made;
  }
  if (hasControlCharacter(credential.user)) return std::nullopt;
  std::array<std::uint8_t, clientNonceSize> nonce{};
  if (!random.fill(nonce)) return std::nullopt;
  made.clientNonce_ = base64Encode(nonce);
  const auto realm = challenge.parameter("realm").value_or("");
  made.secret_ = digestOf(challenge, {credential.user, realm, credential.password});
  made.user_ =
      isTrue(challenge, "userhash") ? digestOf(challenge, {credential.user, realm}) : credential.user;
  if (made.secret_.empty()) return std::nullopt;
  return made;
}

Authorization::~Authorization() {
  wipe(secret_);
  wipe(user_);
}

bool Authorization::renew(const Challenge& challenge) {
  const auto isSame = [&](std::string_view name) {
    return challenge.parameter(name) == challenge_.parameter(name);
  };
  if (isRenewed_ || !isDigest(challenge_) || !isDigest(challenge) || !isTrue(challenge, "stale") ||
      !isSame("realm") || !isSame("algorithm") || !isSame("userhash") || isSame("nonce")) {
    return false;
  }
  challenge_ = challenge;
  nonceCount_ = 0;
  return isRenewed_ = true;
}

std::string Authorization::field(std::string_view method, std::string_view target) {
  if (!isDigest(challenge_)) return secret_;
  const auto nonce = challenge_.parameter("nonce").value_or("");
  const auto algorithm = challenge_.parameter("algorithm");
  const std::string count = eightDigits(++nonceCount_);

  const bool isOfSession = asciiLowercased(algorithm.value_or("")).ends_with("-sess");
  std::string secret = isOfSession ? digestOf(challenge_, {secret_, nonce, clientNonce_}) : secret_;
  const WipedAtEnd wiped(secret);
  const std::string request = digestOf(challenge_, {method, target});
  // Without "qop" the server knows only the older form of RFC 2069.
  const bool hasQuality = challenge_.parameter("qop").has_value();
  const std::string response =
      hasQuality ? digestOf(challenge_, {secret, nonce, count, clientNonce_, "auth", request})
                 : digestOf(challenge_, {secret, nonce, request});

  std::string field = "Digest response=\"" + response + '"';
  appendQuoted(field, "username", user_);
  appendQuoted(field, "realm", challenge_.parameter("realm").value_or(""));
  appendQuoted(field, "nonce", nonce);
  appendQuoted(field, "uri", target);
  if (algorithm) append(field, "algorithm", *algorithm);
  if (hasQuality) {
    append(field, "qop", "auth");
    append(field, "nc", count);
    appendQuoted(field, "cnonce", clientNonce_);
  }
  if (const auto opaque = challenge_.parameter("opaque")) appendQuoted(field, "opaque", *opaque);
  if (isTrue(challenge_, "userhash")) append(field, "userhash", "true");
  return field;
}

}  // namespace tilvanego::detail
