#include <tilvanego/network/curl/Authorization.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <utility>

#include <openssl/evp.h>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Base64.h>

namespace tilvanego::detail {
namespace {

class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool atEnd() const { return rest_.empty(); }
  bool startsWith(char c) const { return rest_.starts_with(c); }
  void skip() { rest_.remove_prefix(1); }

  bool skipBlanks() {
    const auto end = std::min(rest_.find_first_not_of(" \t"), rest_.size());
    rest_.remove_prefix(end);
    return end > 0;
  }

  std::string_view token() { return take(std::ranges::find_if_not(rest_, isTokenCharacter)); }

  void skipToComma() { rest_.remove_prefix(std::min(rest_.find(','), rest_.size())); }

  // A token, or a quoted string without its quotes and backslashes. A quote that isn't closed runs to the
  // end.
  std::string value() {
    if (!startsWith('"')) return std::string(take(std::ranges::find_if(rest_, isBlankOrComma)));
    skip();
    std::string text;
    while (!atEnd() && !startsWith('"')) {
      if (startsWith('\\') && rest_.size() > 1) skip();
      text.push_back(rest_.front());
      skip();
    }
    if (!atEnd()) skip();
    return text;
  }

 private:
  static bool isBlankOrComma(char c) { return c == ' ' || c == '\t' || c == ','; }

  std::string_view take(std::string_view::iterator end) {
    const auto length = static_cast<std::size_t>(end - rest_.begin());
    const auto taken = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return taken;
  }

  std::string_view rest_;
};

bool isOf(const Challenge& challenge, std::string_view scheme) {
  return equalIgnoringASCIICase(challenge.scheme, scheme);
}

bool isDigest(const Challenge& challenge) { return isOf(challenge, "digest"); }

/// Whether the list is missing or offers "auth".
bool isQualitySupported(const Challenge& digest) {
  auto list = digest.parameter("qop").value_or("auth");
  for (;;) {
    const auto comma = std::min(list.find(','), list.size());
    if (equalIgnoringASCIICase(trimmedField(list.substr(0, comma)), "auth")) return true;
    if (comma == list.size()) return false;
    list.remove_prefix(comma + 1);
  }
}

bool isComputable(const Challenge& digest) {
  static constexpr std::array<std::string_view, 4> algorithms = {"md5", "sha-256", "md5-sess",
                                                                 "sha-256-sess"};
  const auto algorithm = asciiLowercased(digest.parameter("algorithm").value_or("md5"));
  if (std::ranges::find(algorithms, algorithm) == algorithms.end()) return false;
  // Only with "qop" the server is told the client's nonce, which the secret of a session contains.
  if (algorithm.ends_with("-sess") && !digest.parameter("qop")) return false;
  return digest.parameter("nonce") && isQualitySupported(digest) &&
         std::ranges::none_of(digest.parameters,
                              [](const auto& item) { return hasControlCharacter(item.second); });
}

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
  support::wipe(hash.data(), hash.size());
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

std::optional<std::string_view> Challenge::parameter(std::string_view lowerCaseName) const {
  const auto found =
      std::ranges::find(parameters, lowerCaseName, [](const auto& item) { return item.first; });
  if (found == parameters.end()) return std::nullopt;
  return found->second;
}

bool hasControlCharacter(std::string_view text) {
  return std::ranges::any_of(text, [](unsigned char c) { return (c < 0x20 && c != '\t') || c == 0x7F; });
}

std::vector<Challenge> parseChallenges(std::string_view field) {
  std::vector<Challenge> challenges;
  Reader reader(field);
  while (!reader.atEnd()) {
    if (reader.skipBlanks()) continue;
    const auto name = reader.token();
    const bool blank = reader.skipBlanks();
    if (name.empty()) {
      // Skips a comma, or a character that no token begins with.
      reader.skip();
    } else if (reader.startsWith('=') && !challenges.empty()) {
      reader.skip();
      reader.skipBlanks();
      challenges.back().parameters.emplace_back(asciiLowercased(name), reader.value());
      reader.skipToComma();
    } else {
      challenges.push_back({std::string(name), {}});
      if (!blank) reader.skipToComma();
    }
  }
  return challenges;
}

const Challenge* supportedChallenge(const std::vector<Challenge>& challenges) {
  const auto digest = std::ranges::find_if(
      challenges, [](const Challenge& each) { return isDigest(each) && isComputable(each); });
  if (digest != challenges.end()) return &*digest;
  const auto basic =
      std::ranges::find_if(challenges, [](const Challenge& each) { return isOf(each, "basic"); });
  return basic != challenges.end() ? &*basic : nullptr;
}

URLProtectionSpace spaceOf(const Challenge& challenge) {
  using enum URLProtectionSpace::AuthenticationMethod;
  URLProtectionSpace space;
  space.realm = fieldText(challenge.parameter("realm").value_or(""));
  space.authenticationMethod = isDigest(challenge) ? httpDigest : httpBasic;
  return space;
}

std::optional<Authorization> Authorization::make(const Challenge& challenge, const URLCredential& credential,
                                                 RandomSource& random) {
  std::string clientNonce;
  if (isDigest(challenge)) {
    std::array<std::uint8_t, clientNonceSize> nonce{};
    if (!random.fill(nonce)) return std::nullopt;
    clientNonce = base64Encode(nonce);
  }
  Authorization made(std::make_shared<ChallengeInUse>(challenge, std::move(clientNonce)));
  if (!made.takeCredential(credential)) return std::nullopt;
  return made;
}

std::optional<Authorization> Authorization::ahead(std::shared_ptr<ChallengeInUse> challenge,
                                                  const URLCredential& credential) {
  Authorization made(std::move(challenge));
  made.isAhead_ = true;
  if (!made.takeCredential(credential)) return std::nullopt;
  return made;
}

bool Authorization::takeCredential(const URLCredential& credential) {
  if (!isDigest(challenge())) {
    // The server would read another user (RFC 7617, section 2).
    if (credential.user.contains(':')) return false;
    secret_ = basicField(credential);
    return true;
  }
  if (hasControlCharacter(credential.user)) return false;
  const auto realm = challenge().parameter("realm").value_or("");
  secret_ = digestOf(challenge(), {credential.user, realm, credential.password});
  user_ = isTrue(challenge(), "userhash") ? digestOf(challenge(), {credential.user, realm}) : credential.user;
  return !secret_.empty();
}

Authorization::~Authorization() {
  wipe(secret_);
  wipe(user_);
}

bool Authorization::renew(const Challenge& challenge) {
  const auto& former = inUse_->challenge;
  const auto isSame = [&](std::string_view name, std::string_view otherwise) {
    return equalIgnoringASCIICase(challenge.parameter(name).value_or(otherwise),
                                  former.parameter(name).value_or(otherwise));
  };
  if (isRenewed_ || !isDigest(former) || !isDigest(challenge) || (!isTrue(challenge, "stale") && !isAhead_) ||
      challenge.parameter("realm") != former.parameter("realm") || !isSame("algorithm", "md5") ||
      !isSame("userhash", "false") || challenge.parameter("nonce") == former.parameter("nonce")) {
    return false;
  }
  inUse_ = std::make_shared<ChallengeInUse>(challenge, inUse_->clientNonce);
  isAhead_ = false;
  return isRenewed_ = true;
}

std::string Authorization::field(std::string_view method, std::string_view target) {
  const auto& answered = challenge();
  if (!isDigest(answered)) return secret_;
  const auto nonce = answered.parameter("nonce").value_or("");
  const auto algorithm = answered.parameter("algorithm");
  const std::string count = eightDigits(++inUse_->uses);

  const bool isOfSession = asciiLowercased(algorithm.value_or("")).ends_with("-sess");
  std::string secret = isOfSession ? digestOf(answered, {secret_, nonce, inUse_->clientNonce}) : secret_;
  const WipedAtEnd wiped(secret);
  const std::string request = digestOf(answered, {method, target});
  // Without "qop" the server knows only the older form of RFC 2069.
  const bool hasQuality = answered.parameter("qop").has_value();
  const std::string response =
      hasQuality ? digestOf(answered, {secret, nonce, count, inUse_->clientNonce, "auth", request})
                 : digestOf(answered, {secret, nonce, request});

  std::string field = "Digest response=\"" + response + '"';
  appendQuoted(field, "username", user_);
  appendQuoted(field, "realm", answered.parameter("realm").value_or(""));
  appendQuoted(field, "nonce", nonce);
  appendQuoted(field, "uri", target);
  if (algorithm) append(field, "algorithm", *algorithm);
  if (hasQuality) {
    append(field, "qop", "auth");
    append(field, "nc", count);
    appendQuoted(field, "cnonce", inUse_->clientNonce);
  }
  if (const auto opaque = answered.parameter("opaque")) appendQuoted(field, "opaque", *opaque);
  if (isTrue(answered, "userhash")) append(field, "userhash", "true");
  return field;
}

}  // namespace tilvanego::detail
