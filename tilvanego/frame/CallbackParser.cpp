#include <tilvanego/frame/CallbackParser.h>

#include <algorithm>
#include <optional>

namespace tilvanego::detail {
namespace {

using Key = std::optional<std::size_t>;

Key findASCII(const CallbackKeyTable& keys, std::string_view name) {
  if (name.empty() || name.size() > CallbackName::maxSize) return std::nullopt;
  const std::size_t end = keys.firstOfLength[name.size() + 1];
  for (std::size_t i = keys.firstOfLength[name.size()]; i < end; ++i) {
    if (keys.aliases[i].name.equals(name)) return keys.aliases[i].key;
  }
  return std::nullopt;
}

/// Outside ASCII, two equal names may differ in length: the Kelvin sign equals "k".
Key findDecoded(const CallbackKeyTable& keys, std::string_view name) {
  const std::string folded = caseFolded(name);
  const auto isIt = [&](const CallbackAlias& alias) { return caseFolded(alias.name.lower()) == folded; };
  const auto found = std::ranges::find_if(keys.aliases, isIt);
  return found == keys.aliases.end() ? Key() : found->key;
}

/// The name of an item as the URL has it, with its percent escapes.
Key find(const CallbackKeyTable& keys, std::string_view encodedName) {
  const Key found = findASCII(keys, encodedName);
  if (found || !encodedName.contains('%')) return found;
  return findDecoded(keys, RawQueryItem{encodedName, {}}.decodedName());
}

}  // namespace

void storeDecidingItems(const CallbackKeyTable& keys, const URL& url, void* fields) {
  std::uint32_t decided = 0;
  for (const RawQueryItem& item : url.rawQueryItems()) {
    const Key key = find(keys, item.name);
    if (!key || (decided >> *key & 1U) != 0) continue;
    decided |= 1U << *key;
    keys.stores[*key](fields, item.value);
  }
}

}  // namespace tilvanego::detail
