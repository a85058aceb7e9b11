#include <tilvanego/platform/network/curl/Proxies.h>

#include <tilvanego/platform/network/curl/Origins.h>

#include <cstdlib>
#include <initializer_list>

namespace tilvanego::detail {

namespace {

std::string firstSet(std::initializer_list<const char*> names) {
  for (const auto* name : names) {
    if (const char* value = std::getenv(name); value && *value) return value;
  }
  return {};
}

}  // namespace

Proxies Proxies::from(const std::optional<std::string>& configured) {
  if (configured) return {*configured, *configured, ""};
  // Not HTTP_PROXY: where a web server starts the program, any client can set it by a header.
  return {firstSet({"http_proxy", "all_proxy", "ALL_PROXY"}),
          firstSet({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}),
          firstSet({"no_proxy", "NO_PROXY"})};
}

void nameProxy(URLProtectionSpace& space, const std::string& proxy) {
  space.isProxy = true;
  const auto url = URL::parse(proxy.find("://") == std::string::npos ? "http://" + proxy : proxy);
  const auto origin = url ? originOf(*url) : std::nullopt;
  if (!origin) return;
  space.protocol = origin->scheme;
  space.host = origin->host;
  // libcurl takes 1080 for a proxy without a port.
  space.port = url->port().value_or(origin->scheme == "https" ? 443 : 1080);
}

}  // namespace tilvanego::detail
