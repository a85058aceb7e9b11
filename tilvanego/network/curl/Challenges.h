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
  /// Names in lower case, values without quotes and escapes, in the field's own bytes. A token68 is left out.
  std::vector<std::pair<std::string, std::string>> parameters;

  [[nodiscard]] std::optional<std::string_view> parameter(std::string_view lowerCaseName) const
      TILVANEGO_LIFETIMEBOUND;
};

/// Returns all challenges of a field, whose values are separated by commas. Invalid parts are ignored.
[[nodiscard]] std::vector<Challenge> parseChallenges(std::string_view field);

/// Whether the text has a character that a header field must not repeat (RFC 9110, section 5.5).
[[nodiscard]] bool hasControlCharacter(std::string_view text);

[[nodiscard]] bool isDigest(const Challenge& challenge);

/// Returns the challenge that the session responds to: the first Digest with an algorithm that
/// `Authorization` computes, else the first Basic, else null.
[[nodiscard]] const Challenge* supportedChallenge(
    const std::vector<Challenge>& challenges TILVANEGO_LIFETIMEBOUND);

/// Returns method and realm of a supported challenge; the caller sets the other members.
[[nodiscard]] URLProtectionSpace spaceOf(const Challenge& challenge);

}  // namespace tilvanego::detail
