#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include <tilvanego/json/Reflection.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/RawText.h>

namespace tilvanego::models::detail {

struct Capitals {
  [[nodiscard]] constexpr std::string_view text() const { return {characters.data(), size}; }
  std::array<char, 64> characters{};
  std::size_t size = 0;
};

/// The name of an enumerator in capitals.
template <auto value, char separator>
[[gnu::visibility("hidden")]] inline constexpr Capitals capitals = [] {
  Capitals made;
  for (const char c : json::detail::enumeratorName<value>) {
    if (c == '_') continue;
    if (c >= 'A' && c <= 'Z') made.characters[made.size++] = separator;
    made.characters[made.size++] = tilvanego::detail::asciiUppercased(c);
  }
  return made;
}();

}  // namespace tilvanego::models::detail

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

// Enumerations write their raw texts.
using tilvanego::operator<<;

/// The base of the raw texts of every model enumeration. An unknown text (the comparison is case-sensitive)
/// reads as the last case, `unknownDefaultOpenApi`, and is not an error. The text itself is lost: the case is
/// written as its own raw text.
///
/// ```cpp
/// enum class Tone { low, high, unknownDefaultOpenApi };
///
/// template <>
/// struct tilvanego::RawTexts<Tone> : models::OpenRawTexts<Tone> {
///   using enum Tone;
///   static constexpr std::array table{row(low, "LOW"), row(high, "HIGH"), fallbackRow};
/// };
/// ```
template <typename Enumeration>
struct OpenRawTexts {
  static constexpr Enumeration fallback = Enumeration::unknownDefaultOpenApi;
  static constexpr std::pair<Enumeration, std::string_view> fallbackRow{fallback, "unknown_default_open_api"};

  [[nodiscard]] static constexpr std::pair<Enumeration, std::string_view> row(Enumeration value,
                                                                              std::string_view text) {
    return {value, text};
  }

  /// A table in which the text of each case but the fallback is its name in capitals, with `separator`
  /// between the words: "FALLBACK_SWIPE" for `fallbackSwipe`, "VOID" for `void_`.
  template <char separator = '_'>
  [[nodiscard]] static consteval auto capitals() {
    constexpr std::size_t last = json::detail::countEnumerators<Enumeration>() - 1;
    return []<std::size_t... index>(std::index_sequence<index...>) {
      return std::array{row(static_cast<Enumeration>(index),
                            detail::capitals<static_cast<Enumeration>(index), separator>.text())...,
                        fallbackRow};
    }(std::make_index_sequence<last>());
  }
};

template <typename Enumeration>
concept HasUnknownCase = requires { Enumeration::unknownDefaultOpenApi; };

/// The status of a transaction.
enum class Status {
  approved,
  declined,
  failed,
  pending,
  initialized,
  authorized,
  saved,
  refunded,
  voided,
  captured,
  force,
  credited,
  unknownDefaultOpenApi,  ///< any text that this library doesn't know
};

/// How the card was read.
enum class ResponseEntryMode {
  contact,
  contactless,
  nfc,
  swipe,
  keyed,
  fallbackSwipe,          ///< swiped after the chip couldn't be read
  unknownDefaultOpenApi,  ///< any text that this library doesn't know
};

enum class CardBrand {
  visa,
  mastercard,
  discover,
  americanExpress,
  jcb,
  dinersClub,
  unknownDefaultOpenApi,  ///< any text that this library doesn't know
};

/// An enumeration that is not declared inside a record.
template <typename Enumeration>
concept TopLevelEnumeration =
    HasUnknownCase<Enumeration> &&
    json::detail::typeName<Enumeration>.rfind("::") == std::string_view("tilvanego::models").size();

/// Returns true for the case `unknownDefaultOpenApi`. Not available for enumerations inside records.
template <TopLevelEnumeration Enumeration>
[[nodiscard]] constexpr bool containsUnknownDefaultOpenApiCase(Enumeration value) {
  return value == Enumeration::unknownDefaultOpenApi;
}

}  // namespace models

template <>
struct RawTexts<models::Status> : models::OpenRawTexts<models::Status> {
  static constexpr auto table = capitals();
};

template <>
struct RawTexts<models::ResponseEntryMode> : models::OpenRawTexts<models::ResponseEntryMode> {
  static constexpr auto table = capitals();
};

template <>
struct RawTexts<models::CardBrand> : models::OpenRawTexts<models::CardBrand> {
  static constexpr auto table = capitals<' '>();
};

}  // namespace tilvanego
