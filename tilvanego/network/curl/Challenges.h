#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/network/URLAuthenticationChallenge.h>

namespace tilvanego::detail {

/// One challenge of a "WWW-Authenticate" or "Proxy-Authenticate" field (RFC 9110, section 11.6.1).
struct Challenge {
  /// As the server wrote it; no case counts.
  std::string scheme;
  /// Names in lower case, values without quotes and escapes. A token68 isn't kept.
  std::vector<std::pair<std::string, std::string>> parameters;

  [[nodiscard]] std::optional<std::string_view> parameter(std::string_view lowerCaseName) const;
};

/// All challenges of a field whose values were joined by commas. What makes no sense is passed over.
[[nodiscard]] std::vector<Challenge> parseChallenges(std::string_view field);

/// The challenge that the session answers: Digest if libcurl can compute the one that it takes, the first;
/// else Basic; else none. Gives method and realm, the rest is the caller's.
[[nodiscard]] std::optional<URLProtectionSpace> supportedSpace(const std::vector<Challenge>& challenges);

}  // namespace tilvanego::detail
