#include <tilvanego/facade/Link.h>

#include <tilvanego/values/LinkWriter.h>
#include <tilvanego/values/Text.h>

namespace tilvanego::detail {

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
