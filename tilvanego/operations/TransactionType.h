#pragma once

#include <string_view>

#include <tilvanego/json/CodingKeys.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The type of a stored transaction. It is read from JSON by `transactionTypeFrom`, which accepts more
/// spellings than `fromRawText`, and written as its raw text.
enum class TilvaneGoTransactionType {
  sale,
  authorization,
  refund,
  capture,
  credit,
  debit,
  store,
  save,
  force,
  reversal,
  balance,
  void_,
  initialization,         ///< "init"
  unknownDefaultOpenApi,  ///< any text that this library doesn't know
};

template <>
inline constexpr bool json::namesAreTexts<TilvaneGoTransactionType> = true;

template <>
inline constexpr std::array json::renamedCases<TilvaneGoTransactionType>{
    std::pair{TilvaneGoTransactionType::void_, std::string_view("void")},
    std::pair{TilvaneGoTransactionType::initialization, std::string_view("init")},
    std::pair{TilvaneGoTransactionType::unknownDefaultOpenApi, std::string_view("unknown_default_open_api")}};

/// Returns the type that a text names, without regard to case. Only "auth", "authorization", "_init" and
/// "initialization" may have whitespace around them. Every other text is `unknownDefaultOpenApi`.
[[nodiscard]] TilvaneGoTransactionType transactionTypeFrom(std::string_view text);

}  // namespace tilvanego
