#include <tilvanego/network/curl/Origins.h>

#include <tilvanego/values/ASCII.h>

namespace tilvanego::detail {

namespace {

std::uint32_t portOf(const URL& url) { return url.port().value_or(isSecure(url) ? 443 : 80); }

}  // namespace

bool isHTTP(const URL& url) {
  return isSecure(url) || equalIgnoringASCIICase(url.scheme().value_or(""), "http");
}

bool hasOrigin(const URL& url) { return isHTTP(url) && !url.writtenHost().value_or("").empty(); }

std::optional<Origin> originOf(const URL& url) {
  if (!hasOrigin(url)) return std::nullopt;
  return Origin{asciiLowercased(*url.scheme()), asciiLowercased(*url.writtenHost()), portOf(url)};
}

bool isSecure(const URL& url) { return equalIgnoringASCIICase(url.scheme().value_or(""), "https"); }

std::string pathAndQuery(const URL& url) {
  std::string target(url.encodedPath());
  if (target.empty()) target = "/";
  if (const auto query = url.encodedQuery()) target.append("?").append(*query);
  return target;
}

std::string hostAndPort(const URL& url) {
  return std::string(url.writtenHost().value_or("")) + ":" + std::to_string(portOf(url));
}

std::string textWithoutUser(const URL& url) {
  std::string text = url.absoluteString();
  const auto authority = text.find("//");
  if (!url.user() || authority == std::string::npos) return text;
  const auto begin = authority + 2;
  const auto end = std::min(text.find_first_of("/?#", begin), text.size());
  const auto at = text.rfind('@', end);
  if (at != std::string::npos && at >= begin && at < end) text.erase(begin, at + 1 - begin);
  return text;
}

}  // namespace tilvanego::detail
