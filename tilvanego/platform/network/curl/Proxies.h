#pragma once

#include <tilvanego/platform/network/URLAuthenticationChallenge.h>

#include <optional>
#include <string>

namespace tilvanego::detail {

/// Which proxy carries which requests. An empty text stands for none.
struct Proxies {
  std::string forHTTP;
  std::string forHTTPS;
  /// Hosts that are reached without, as libcurl reads them.
  std::string exceptions;

  /// As the configuration says, or the environment as it is now.
  [[nodiscard]] static Proxies from(const std::optional<std::string>& configured);
  [[nodiscard]] const std::string& forScheme(bool secure) const { return secure ? forHTTPS : forHTTP; }
};

/// Fills in who the proxy is that has this URL.
void nameProxy(URLProtectionSpace& space, const std::string& proxy);

}  // namespace tilvanego::detail
