#pragma once

#include <array>
#include <string_view>
#include <utility>

#include <tilvanego/json/Reflection.h>
#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

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
  using enum models::Status;
  static constexpr std::array table{
      row(approved, "APPROVED"),
      row(declined, "DECLINED"),
      row(failed, "FAILED"),
      row(pending, "PENDING"),
      row(initialized, "INITIALIZED"),
      row(authorized, "AUTHORIZED"),
      row(saved, "SAVED"),
      row(refunded, "REFUNDED"),
      row(voided, "VOIDED"),
      row(captured, "CAPTURED"),
      row(force, "FORCE"),
      row(credited, "CREDITED"),
      fallbackRow,
  };
};

template <>
struct RawTexts<models::ResponseEntryMode> : models::OpenRawTexts<models::ResponseEntryMode> {
  using enum models::ResponseEntryMode;
  static constexpr std::array table{
      row(contact, "CONTACT"), row(contactless, "CONTACTLESS"),      row(nfc, "NFC"), row(swipe, "SWIPE"),
      row(keyed, "KEYED"),     row(fallbackSwipe, "FALLBACK_SWIPE"), fallbackRow,
  };
};

template <>
struct RawTexts<models::CardBrand> : models::OpenRawTexts<models::CardBrand> {
  using enum models::CardBrand;
  static constexpr std::array table{
      row(visa, "VISA"),
      row(mastercard, "MASTERCARD"),
      row(discover, "DISCOVER"),
      row(americanExpress, "AMERICAN EXPRESS"),
      row(jcb, "JCB"),
      row(dinersClub, "DINERS CLUB"),
      fallbackRow,
  };
};

}  // namespace tilvanego
