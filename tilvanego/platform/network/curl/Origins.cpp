#include <tilvanego/platform/network/curl/Origins.h>

#include <tilvanego/platform/network/curl/FieldSyntax.h>

#include <cstddef>

namespace tilvanego::detail {

std::optional<Origin> originOf(const URL& url) {
  auto scheme = lowerCase(url.scheme().value_or(""));
  if (scheme != "http" && scheme != "https") return std::nullopt;
  const auto host = url.writtenHost();
  if (!host || host->empty()) return std::nullopt;
  const auto port = url.port().value_or(scheme == "https" ? 443 : 80);
  return Origin{std::move(scheme), lowerCase(*host), port};
}

bool isSecure(const URL& url) { return equalsIgnoringCase(url.scheme().value_or(""), "https"); }

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
