#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/network/URLAuthenticationChallenge.h>
#include <tilvanego/values/Lifetime.h>

namespace tilvanego::detail {

/// One challenge of a "WWW-Authenticate" or "Proxy-Authenticate" field (RFC 9110, section 11.6.1).
struct Challenge {
  /// As the server sent it; case-insensitive.
  std::string scheme;
  /// Names in lower case, values without quotes and escapes. A token68 is left out.
  std::vector<std::pair<std::string, std::string>> parameters;

  [[nodiscard]] std::optional<std::string_view> parameter(std::string_view lowerCaseName) const
      TILVANEGO_LIFETIMEBOUND;
};

/// Returns all challenges of a field, whose values are separated by commas. Invalid parts are ignored.
[[nodiscard]] std::vector<Challenge> parseChallenges(std::string_view field);

/// Returns method and realm of the challenge that the session responds to; the caller sets the other members.
/// It is the first Digest challenge, the one that libcurl responds to, if libcurl supports its algorithm;
/// else Basic; else there is no value.
[[nodiscard]] std::optional<URLProtectionSpace> supportedSpace(const std::vector<Challenge>& challenges);

}  // namespace tilvanego::detail
