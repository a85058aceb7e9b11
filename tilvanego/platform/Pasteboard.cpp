#include <tilvanego/platform/Pasteboard.h>

#include <array>
#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {

std::optional<std::string> pasteboardString(const std::vector<PasteboardItem>& items) {
  constexpr std::array<std::string_view, 3> textTypes{"public.utf8-plain-text", "public.text",
                                                      "public.plain-text"};
  if (items.empty()) return std::nullopt;
  for (const auto type : textTypes) {
    const auto found = items.front().find(type);
    if (found == items.front().end()) continue;
    if (const auto* text = std::get_if<std::string>(&found->second)) return *text;
  }
  return std::nullopt;
}

bool isExpired(const PasteboardOptions& options, const Date& now) {
  return options.expirationDate && *options.expirationDate < now;
}

}  // namespace tilvanego
