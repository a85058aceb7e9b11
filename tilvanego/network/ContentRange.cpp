#include <tilvanego/network/ContentRange.h>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Integer.h>

namespace tilvanego::detail {

std::optional<ContentRange> parseContentRange(std::string_view field) {
  auto text = trimmedField(field);
  constexpr std::string_view unit = "bytes ";
  if (!equalIgnoringASCIICase(text.substr(0, unit.size()), unit)) return std::nullopt;
  text.remove_prefix(unit.size());
  const auto dash = text.find('-');
  const auto slash = text.find('/');
  if (slash == text.npos || dash > slash) return std::nullopt;
  const auto first = wholeNumber<std::uint64_t>(text.substr(0, dash));
  const auto last = wholeNumber<std::uint64_t>(text.substr(dash + 1, slash - dash - 1));
  const auto whole = text.substr(slash + 1);
  const auto complete = wholeNumber<std::uint64_t>(whole);
  if (!first || !last || *first > *last || (!complete && whole != "*")) return std::nullopt;
  if (complete && *last >= *complete) return std::nullopt;
  return ContentRange{*first, *last, complete};
}

}  // namespace tilvanego::detail
