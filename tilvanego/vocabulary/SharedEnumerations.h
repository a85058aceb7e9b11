#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/RawText.h>

namespace tilvanego::models::detail {

/// The raw texts of an enumeration whose texts are its cases' names in capitals.
template <typename Enumeration, char separator>
struct Capitals {
  static constexpr const auto& names = json::detail::enumeratorNames<Enumeration>;

  consteval Capitals() {
    std::size_t end = 0;
    for (std::size_t index = 0; index < names.count; ++index) {
      for (const char c : names.names[index]) {
        if (c == '_') continue;
        if (c >= 'A' && c <= 'Z') characters[end++] = separator;
        characters[end++] = tilvanego::detail::asciiUppercased(c);
      }
      ends[index] = end;
    }
  }

  [[nodiscard]] constexpr std::string_view text(std::size_t index) const {
    const std::size_t begin = index == 0 ? 0 : ends[index - 1];
    return {characters.data() + begin, ends[index] - begin};
  }

  std::array<char, 32 * names.count> characters{};
  std::array<std::size_t, names.count> ends{};
};

template <typename Enumeration, char separator>
[[gnu::visibility("hidden")]] inline constexpr Capitals<Enumeration, separator> capitals;

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
};

/// Specialise it for an enumeration whose raw texts are its cases' names in capitals: with the character
/// between the words. With '_', `fallbackSwipe` is "FALLBACK_SWIPE", and `void_` is "VOID". The texts are
/// made where they are first used.
template <typename Enumeration>
inline constexpr char capitalsSeparator = '\0';

/// Specialise it as true for an enumeration whose raw texts are its cases' names, but for
/// `json::renamedCases` and the fallback.
template <typename Enumeration>
inline constexpr bool namesAreOpenTexts = false;

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

template <typename Enumeration>
  requires models::namesAreOpenTexts<Enumeration>
struct RawTexts<Enumeration> : models::OpenRawTexts<Enumeration> {
  static constexpr auto table = [] {
    auto texts = json::caseNames<Enumeration>();
    texts.back() = models::OpenRawTexts<Enumeration>::fallbackRow;
    return texts;
  }();
};

template <typename Enumeration>
  requires(models::capitalsSeparator<Enumeration> != '\0')
struct RawTexts<Enumeration> : models::OpenRawTexts<Enumeration> {
  static constexpr auto table = []<std::size_t... index>(std::index_sequence<index...>) {
    using Texts = models::OpenRawTexts<Enumeration>;
    constexpr auto& capitals = models::detail::capitals<Enumeration, models::capitalsSeparator<Enumeration>>;
    return std::array{Texts::row(static_cast<Enumeration>(index), capitals.text(index))...,
                      Texts::fallbackRow};
  }(std::make_index_sequence<static_cast<std::size_t>(Enumeration::unknownDefaultOpenApi)>());
};

template <>
inline constexpr char models::capitalsSeparator<models::Status> = '_';

template <>
inline constexpr char models::capitalsSeparator<models::ResponseEntryMode> = '_';

template <>
inline constexpr char models::capitalsSeparator<models::CardBrand> = ' ';

}  // namespace tilvanego
