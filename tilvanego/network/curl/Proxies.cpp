#include <tilvanego/network/curl/Proxies.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <string_view>
#include <utility>

#include <tilvanego/network/curl/Origins.h>
#include <tilvanego/values/PercentEncoding.h>

namespace tilvanego::detail {
namespace {

std::string firstSet(std::initializer_list<const char*> names) {
  for (const auto* name : names) {
    if (const char* value = std::getenv(name); value && *value) return value;
  }
  return {};
}

std::string decoded(std::string_view escaped) {
  return percentDecoded(escaped).value_or(std::string(escaped));
}

}  // namespace

Proxy Proxy::from(std::string url) {
  const auto scheme = url.find("://");
  const auto begin = scheme == std::string::npos ? 0 : scheme + 3;
  const auto at = std::string_view(url).substr(0, url.find('/', begin)).rfind('@');
  if (at == std::string::npos || at < begin) return {std::move(url), std::nullopt};

  const auto user = std::string_view(url).substr(begin, at - begin);
  const auto colon = std::min(user.find(':'), user.size());
  URLCredential credential{decoded(user.substr(0, colon)),
                           decoded(user.substr(std::min(colon + 1, user.size())))};
  url.erase(begin, at + 1 - begin);
  return {std::move(url), std::move(credential)};
}

Proxies Proxies::from(const std::optional<std::string>& configured) {
  if (configured) return {Proxy::from(*configured), Proxy::from(*configured), ""};
  // Not HTTP_PROXY: if a web server starts the program, any client can set that variable by a header.
  return {Proxy::from(firstSet({"http_proxy", "all_proxy", "ALL_PROXY"})),
          Proxy::from(firstSet({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})),
          firstSet({"no_proxy", "NO_PROXY"})};
}

void nameProxy(URLProtectionSpace& space, const Proxy& proxy) {
  space.isProxy = true;
  const auto url = URL::parse(proxy.url.find("://") == std::string::npos ? "http://" + proxy.url : proxy.url);
  const auto origin = url ? originOf(*url) : std::nullopt;
  if (!origin) return;
  space.protocol = origin->scheme;
  space.host = origin->host;
  // libcurl's default port of a proxy is 1080.
  space.port = url->port().value_or(origin->scheme == "https" ? 443 : 1080);
}

}  // namespace tilvanego::detail
