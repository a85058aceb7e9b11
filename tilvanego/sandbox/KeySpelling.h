#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include <tilvanego/json/CodingKeys.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

// Enumerations write their raw texts.
using tilvanego::operator<<;

/// The spelling that a callback uses for the names of its items. The library accepts up to four for one
/// field: "request_id", "requestId", "session_id" and "sessionId".
enum class KeySpelling {
  first,
  /// The second, third and fourth spelling; for a field with fewer spellings, its last one.
  second,
  third,
  fourth,
  /// The first spelling in camel case; for a field without one, its first spelling.
  camelCase,
};

/// The spellings of one field, in order; unused places are empty.
using KeyNames = std::array<std::string_view, 4>;

/// Returns the name for a spelling.
[[nodiscard]] std::string_view spelled(const KeyNames& names, KeySpelling spelling);

}  // namespace sandbox
}  // namespace tilvanego

template <>
inline constexpr bool tilvanego::json::namesAreTexts<tilvanego::sandbox::KeySpelling> = true;
