#include <tilvanego/platform/memory/ScriptedRandomSource.h>

#include <algorithm>

namespace [[gnu::visibility("default")]] tilvanego {

bool ScriptedRandomSource::fill(std::span<std::uint8_t> bytes) {
  const auto left = std::span(script_).subspan(std::min(given_, script_.size()));
  if (left.size() < bytes.size()) return false;
  std::ranges::copy(left.first(bytes.size()), bytes.begin());
  given_ += bytes.size();
  return true;
}

}  // namespace tilvanego
