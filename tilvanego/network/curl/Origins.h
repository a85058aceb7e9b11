#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <tilvanego/values/URL.h>

namespace tilvanego::detail {

/// The origin of an HTTP URL (RFC 9110, section 4.3.1).
struct Origin {
  /// "http" or "https".
  std::string scheme;
  /// In lower case.
  std::string host;
  std::uint32_t port = 0;

  bool operator==(const Origin&) const = default;
};

/// Returns no value if the URL isn't http or https, or has no host.
[[nodiscard]] std::optional<Origin> originOf(const URL& url);

/// Whether the scheme is http or https.
[[nodiscard]] bool isHTTP(const URL& url);

/// Whether `originOf` returns a value. Allocates nothing.
[[nodiscard]] bool hasOrigin(const URL& url);

/// Whether the scheme is https. Allocates nothing.
[[nodiscard]] bool isSecure(const URL& url);

/// The target of a request: path and query (RFC 9112, section 3.2.1).
[[nodiscard]] std::string pathAndQuery(const URL& url);

/// The target of a CONNECT: host and port (section 3.2.3).
[[nodiscard]] std::string hostAndPort(const URL& url);

/// Returns the URL's text without user and password.
[[nodiscard]] std::string textWithoutUser(const URL& url);

}  // namespace tilvanego::detail
