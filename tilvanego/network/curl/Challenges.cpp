#include <tilvanego/network/curl/Challenges.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/values/ASCII.h>

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

}  // namespace

std::optional<std::string_view> Challenge::parameter(std::string_view lowerCaseName) const {
  const auto found =
      std::ranges::find(parameters, lowerCaseName, [](const auto& item) { return item.first; });
  if (found == parameters.end()) return std::nullopt;
  return found->second;
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

bool hasControlCharacter(std::string_view text) {
  return std::ranges::any_of(text, [](unsigned char c) { return (c < 0x20 && c != '\t') || c == 0x7F; });
}

bool isDigest(const Challenge& challenge) { return isOf(challenge, "digest"); }

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

}  // namespace tilvanego::detail
