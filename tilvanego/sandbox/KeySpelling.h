#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include <tilvanego/values/RawText.h>

namespace tilvanego::sandbox {

/// Which of its spellings each item of a callback has. The library knows up to four for a field, as in
/// "request_id", "requestId", "session_id" and "sessionId".
enum class KeySpelling {
  first,
  /// The second and so on; the last one for a field that has no more.
  second,
  third,
  fourth,
  /// The first in camel case; the first of all for a field that has none.
  camelCase,
};

/// The spellings of a field in their order; those left over are empty.
using KeyNames = std::array<std::string_view, 4>;

[[nodiscard]] std::string_view spelled(const KeyNames& names, KeySpelling spelling);

}  // namespace tilvanego::sandbox

template <>
struct tilvanego::RawTexts<tilvanego::sandbox::KeySpelling> {
  using enum sandbox::KeySpelling;
  static constexpr std::array table{
      std::pair{first, std::string_view("first")},         std::pair{second, std::string_view("second")},
      std::pair{third, std::string_view("third")},         std::pair{fourth, std::string_view("fourth")},
      std::pair{camelCase, std::string_view("camelCase")},
  };
};
