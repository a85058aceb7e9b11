#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// A cookie of a session (RFC 6265, section 5.3). The value is often a secret: don't log it.
struct HTTPCookie {
  std::string name;
  std::string value;
  /// The host that the cookie is sent to, without a leading dot.
  std::string domain;
  /// Whether it is also sent to the hosts below `domain`.
  bool includesSubdomains = false;
  std::string path = "/";
  /// Whether it is sent over https only.
  bool isSecure = false;
  /// Whether it is kept from scripts of a page ("HttpOnly").
  bool isHTTPOnly = false;
  /// The time until which it is sent. No value: until the end of the session. Newer versions of libcurl, such
  /// as 8.14, shorten it to 400 days.
  std::optional<std::chrono::sys_seconds> expires{};

  bool operator==(const HTTPCookie&) const = default;
};

}  // namespace tilvanego
