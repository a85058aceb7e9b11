#include <tilvanego/frame/QueryLookup.h>

#include <algorithm>

#include <tilvanego/values/Integer.h>
#include <tilvanego/values/Text.h>

namespace tilvanego::detail {

bool isNamed(const RawQueryItem& item, std::string_view name) {
  // A URL's text is ASCII, so a name without escapes can only equal a name of its own length.
  if (item.name.contains('%')) return equalIgnoringCase(item.decodedName(), name);
  return item.name.size() == name.size() && equalIgnoringCase(item.name, name);
}

std::optional<std::string> queryValue(const URL& url, std::initializer_list<std::string_view> names) {
  for (const RawQueryItem& item : url.rawQueryItems()) {
    if (std::ranges::any_of(names, [&](std::string_view name) { return isNamed(item, name); })) {
      return item.value.decoded();
    }
  }
  return std::nullopt;
}

std::optional<std::uint64_t> queryCount(const URL& url, std::initializer_list<std::string_view> names) {
  const auto text = queryValue(url, names);
  const auto number = text ? parseInteger(*text) : std::nullopt;
  if (!number || *number < 0) return std::nullopt;
  return static_cast<std::uint64_t>(*number);
}

}  // namespace tilvanego::detail
