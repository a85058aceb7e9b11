#include <tilvanego/sandbox/KeySpelling.h>

#include <algorithm>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

std::string_view spelled(const KeyNames& names, KeySpelling spelling) {
  if (spelling == KeySpelling::camelCase) {
    const auto isCamelCase = [](std::string_view name) {
      return std::ranges::any_of(name, [](char c) { return c >= 'A' && c <= 'Z'; });
    };
    const auto* const found = std::ranges::find_if(names, isCamelCase);
    return found == names.end() ? names.front() : *found;
  }
  const auto count = static_cast<std::size_t>(std::ranges::find(names, std::string_view()) - names.begin());
  return names.at(std::min(static_cast<std::size_t>(spelling), count - 1));
}

}  // namespace sandbox
}  // namespace tilvanego
