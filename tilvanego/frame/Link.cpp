#include <tilvanego/frame/Link.h>

#include <algorithm>
#include <initializer_list>
#include <vector>

#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/SecretNames.h>

namespace tilvanego::detail {
namespace {

std::string redacted(const std::optional<URL>& url, std::initializer_list<Secret> hidden) {
  constexpr std::string_view noURL = "url is empty!";
  if (!url) return std::string(noURL);
  if (!url->encodedQuery()) return url->absoluteString();
  std::vector<QueryItem> items;
  for (const RawQueryItem& item : url->rawQueryItems()) {
    QueryItem& shown = items.emplace_back(item.decodedName());
    const auto secret = secretNamed(shown.name);
    const bool isHidden = secret && std::ranges::find(hidden, *secret) != hidden.end();
    shown.value = isHidden ? "<redacted>" : item.value.decoded();
  }
  const auto shown = url->replacingQueryItems(items);
  return shown ? shown->absoluteString() : std::string(noURL);
}

}  // namespace

std::string redactedURLText(const std::optional<URL>& url) {
  return redacted(url, {Secret::token, Secret::payload});
}

std::string redactedPayloadURL(const std::optional<URL>& url) { return redacted(url, {Secret::payload}); }

}  // namespace tilvanego::detail
