#pragma once

#include <array>
#include <string_view>
#include <utility>

#include <tilvanego/values/RawText.h>

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
struct RawTexts<TilvaneGoTransactionType> {
  static constexpr std::array table{
      std::pair{TilvaneGoTransactionType::sale, std::string_view("sale")},
      std::pair{TilvaneGoTransactionType::authorization, std::string_view("authorization")},
      std::pair{TilvaneGoTransactionType::refund, std::string_view("refund")},
      std::pair{TilvaneGoTransactionType::capture, std::string_view("capture")},
      std::pair{TilvaneGoTransactionType::credit, std::string_view("credit")},
      std::pair{TilvaneGoTransactionType::debit, std::string_view("debit")},
      std::pair{TilvaneGoTransactionType::store, std::string_view("store")},
      std::pair{TilvaneGoTransactionType::save, std::string_view("save")},
      std::pair{TilvaneGoTransactionType::force, std::string_view("force")},
      std::pair{TilvaneGoTransactionType::reversal, std::string_view("reversal")},
      std::pair{TilvaneGoTransactionType::balance, std::string_view("balance")},
      std::pair{TilvaneGoTransactionType::void_, std::string_view("void")},
      std::pair{TilvaneGoTransactionType::initialization, std::string_view("init")},
      std::pair{TilvaneGoTransactionType::unknownDefaultOpenApi,
                std::string_view("unknown_default_open_api")},
  };
};

/// Returns the type that a text names, without regard to case. Only "auth", "authorization", "_init" and
/// "initialization" may have whitespace around them. Every other text is `unknownDefaultOpenApi`.
[[nodiscard]] TilvaneGoTransactionType transactionTypeFrom(std::string_view text);

}  // namespace tilvanego
