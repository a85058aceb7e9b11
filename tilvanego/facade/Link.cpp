#include <tilvanego/facade/Link.h>

#include <tilvanego/values/LinkWriter.h>
#include <tilvanego/values/Text.h>

namespace tilvanego::detail {

std::optional<URL> launchLink(const LinkTarget& target, const LinkItems& items) {
  // Far beyond what any system opens, and inside of what a URL can be.
  constexpr std::size_t maxItemBytes = 0xFFFF'0000;
  std::size_t itemBytes = 0;
  for (const auto& [name, value] : items.items()) itemBytes += LinkWriter::itemSize(name, value);
  if (itemBytes > maxItemBytes) return std::nullopt;
  LinkWriter writer(target, itemBytes);
  for (const auto& [name, value] : items.items()) writer.item(name, value);
  return std::move(writer).finish();
}

namespace {

bool isSecret(std::string_view name) {
  const std::string lower = lowercased(name);
  return lower == "basic_token" || lower == "basictoken" || lower == "payload";
}

}  // namespace

std::string redactedURLText(const std::optional<URL>& url) {
  constexpr std::string_view noURL = "url is empty!";
  if (!url) return std::string(noURL);
  auto items = url->queryItems();
  if (!items) return url->absoluteString();
  for (auto& [name, value] : *items) {
    if (isSecret(name)) value = "<redacted>";
  }
  const auto redacted = url->replacingQueryItems(*items);
  return redacted ? redacted->absoluteString() : std::string(noURL);
}

}  // namespace tilvanego::detail
