#pragma once

#include <array>
#include <string_view>
#include <utility>

#include <tilvanego/values/RawText.h>

namespace tilvanego::models {

/// What the raw texts of every model enumeration have in common: a text that is no case's, with case, reads
/// as the last case, `unknownDefaultOpenApi`, and no failure. The text that came in is lost: the case is
/// written by its own.
///
///     template <> struct RawTexts<models::Status> : models::OpenRawTexts<models::Status> { ... };
template <class Enumeration>
struct OpenRawTexts {
  static constexpr Enumeration fallback = Enumeration::unknownDefaultOpenApi;
  static constexpr std::pair<Enumeration, std::string_view> fallbackRow{fallback, "unknown_default_open_api"};
};

/// How far a transaction has come.
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

/// How the card's data came in.
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

}  // namespace tilvanego::models

namespace tilvanego {

template <>
struct RawTexts<models::Status> : models::OpenRawTexts<models::Status> {
  static constexpr std::array table{
      std::pair{models::Status::approved, std::string_view("APPROVED")},
      std::pair{models::Status::declined, std::string_view("DECLINED")},
      std::pair{models::Status::failed, std::string_view("FAILED")},
      std::pair{models::Status::pending, std::string_view("PENDING")},
      std::pair{models::Status::initialized, std::string_view("INITIALIZED")},
      std::pair{models::Status::authorized, std::string_view("AUTHORIZED")},
      std::pair{models::Status::saved, std::string_view("SAVED")},
      std::pair{models::Status::refunded, std::string_view("REFUNDED")},
      std::pair{models::Status::voided, std::string_view("VOIDED")},
      std::pair{models::Status::captured, std::string_view("CAPTURED")},
      std::pair{models::Status::force, std::string_view("FORCE")},
      std::pair{models::Status::credited, std::string_view("CREDITED")},
      fallbackRow,
  };
};

template <>
struct RawTexts<models::ResponseEntryMode> : models::OpenRawTexts<models::ResponseEntryMode> {
  static constexpr std::array table{
      std::pair{models::ResponseEntryMode::contact, std::string_view("CONTACT")},
      std::pair{models::ResponseEntryMode::contactless, std::string_view("CONTACTLESS")},
      std::pair{models::ResponseEntryMode::nfc, std::string_view("NFC")},
      std::pair{models::ResponseEntryMode::swipe, std::string_view("SWIPE")},
      std::pair{models::ResponseEntryMode::keyed, std::string_view("KEYED")},
      std::pair{models::ResponseEntryMode::fallbackSwipe, std::string_view("FALLBACK_SWIPE")},
      fallbackRow,
  };
};

template <>
struct RawTexts<models::CardBrand> : models::OpenRawTexts<models::CardBrand> {
  static constexpr std::array table{
      std::pair{models::CardBrand::visa, std::string_view("VISA")},
      std::pair{models::CardBrand::mastercard, std::string_view("MASTERCARD")},
      std::pair{models::CardBrand::discover, std::string_view("DISCOVER")},
      std::pair{models::CardBrand::americanExpress, std::string_view("AMERICAN EXPRESS")},
      std::pair{models::CardBrand::jcb, std::string_view("JCB")},
      std::pair{models::CardBrand::dinersClub, std::string_view("DINERS CLUB")},
      fallbackRow,
  };
};

}  // namespace tilvanego
