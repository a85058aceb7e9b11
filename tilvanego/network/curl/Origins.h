#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <tilvanego/values/URL.h>

namespace tilvanego::detail {

/// Who answers an HTTP URL (RFC 9110, section 4.3.1).
struct Origin {
  /// "http" or "https".
  std::string scheme;
  /// In lower case.
  std::string host;
  std::uint32_t port = 0;

  bool operator==(const Origin&) const = default;
};

/// None if the URL isn't http or https, or has no host.
[[nodiscard]] std::optional<Origin> originOf(const URL& url);

/// Whether the scheme is http or https.
[[nodiscard]] bool isHTTP(const URL& url);

/// Whether there is an origin, without the copies.
[[nodiscard]] bool hasOrigin(const URL& url);

/// Scheme alone, without the copies of an origin.
[[nodiscard]] bool isSecure(const URL& url);

/// The URL without user and password, or the URL itself if it has neither.
[[nodiscard]] std::string textWithoutUser(const URL& url);

}  // namespace tilvanego::detail
