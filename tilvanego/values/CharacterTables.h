#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// Which bytes may stand in which part of a URL, by the grammar of RFC 3986. "%" is in no class: it starts an
/// escape of three bytes, which are checked together.
namespace tilvanego::detail {

/// A bit mask: a byte can be in many classes.
enum class CharacterClass : std::uint16_t {
  schemeTail = 1,
  user = 2,
  password = 4,
  host = 8,
  ipLiteral = 16,
  path = 32,
  query = 64,       // the fragment too
  queryItem = 128,  // an item's name or value: query without the separators "&" and "="
  alphanumeric = 256
};

inline constexpr auto characterClasses = [] {
  std::array<std::uint16_t, 256> classes{};
  const auto admit = [&](std::string_view characters, auto... memberOf) {
    for (const char character : characters) {
      auto& mask = classes[static_cast<std::uint8_t>(character)];
      ((mask = static_cast<std::uint16_t>(mask | static_cast<std::uint16_t>(memberOf))), ...);
    }
  };
  using enum CharacterClass;
  admit("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", schemeTail, user, password, host,
        ipLiteral, path, query, queryItem, alphanumeric);
  admit("-._~!$'()*+,;", user, password, host, ipLiteral, path, query, queryItem);
  admit("&=", user, password, host, ipLiteral, path, query);
  admit("+-.", schemeTail);
  admit(":", password, ipLiteral, path, query, queryItem);
  admit("@/", path, query, queryItem);
  admit("?", query, queryItem);
  return classes;
}();

inline constexpr auto hexValues = [] {
  std::array<std::int8_t, 256> values{};
  values.fill(-1);
  for (std::uint8_t digit = 0; digit < 16; ++digit) {
    for (const std::string_view digits : {"0123456789ABCDEF", "0123456789abcdef"}) {
      values[static_cast<std::uint8_t>(digits[digit])] = static_cast<std::int8_t>(digit);
    }
  }
  return values;
}();

/// The classes of a byte, as a bit mask.
[[nodiscard]] constexpr unsigned classesOf(char character) {
  return characterClasses[static_cast<std::uint8_t>(character)];
}

[[nodiscard]] constexpr bool belongs(char character, CharacterClass characterClass) {
  return (classesOf(character) & static_cast<unsigned>(characterClass)) != 0;
}

/// The end of the run of characters of `characterClass` that begins at `at`. Four at a time, since most runs
/// are long.
[[nodiscard]] constexpr const char* endOfRun(const char* at, const char* end, CharacterClass characterClass) {
  const auto mask = static_cast<unsigned>(characterClass);
  while (end - at >= 4 &&
         (classesOf(at[0]) & classesOf(at[1]) & classesOf(at[2]) & classesOf(at[3]) & mask) != 0) {
    at += 4;
  }
  while (at != end && belongs(*at, characterClass)) ++at;
  return at;
}

/// The value of a hexadecimal digit in either case, or -1.
[[nodiscard]] constexpr int hexValue(char character) {
  return hexValues[static_cast<std::uint8_t>(character)];
}

}  // namespace tilvanego::detail
