#include <tilvanego/values/URLComponents.h>

#include <utility>

#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/URLSplitter.h>

namespace [[gnu::visibility("default")]] tilvanego {

std::optional<URL> URLComponents::url() const {
  std::string text;
  if (scheme) {
    if (!detail::isScheme(*scheme)) return std::nullopt;
    text += *scheme;
    text += ':';
  }
  if (host) {
    const auto written = detail::writtenHost(*host);
    if (!written || (!path.empty() && !path.starts_with('/'))) return std::nullopt;
    text += "//";
    text += *written;
  } else if (path.starts_with("//")) {
    return std::nullopt;
  }
  detail::appendEncodedPath(text, path);
  if (queryItems) detail::appendQuery(text, *queryItems);
  auto parsed = URL::parse(std::move(text));
  return parsed ? std::optional(*std::move(parsed)) : std::nullopt;
}

}  // namespace tilvanego

namespace tilvanego::detail {

void appendQuery(std::string& target, std::span<const QueryItem> items) {
  char separator = '?';
  if (items.empty()) target += separator;
  for (const QueryItem& item : items) {
    target += std::exchange(separator, '&');
    appendPercentEncoded(target, item.name, CharacterClass::queryItem);
    if (!item.value) continue;
    target += '=';
    appendPercentEncoded(target, *item.value, CharacterClass::queryItem);
  }
}

}  // namespace tilvanego::detail
