#pragma once

#include <optional>
#include <string>

#include <tilvanego/models/Enumerations.h>
#include <tilvanego/models/Patterns.h>
#include <tilvanego/models/Record.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

/// An amount of money in which every field is optional.
struct Amounts {
  std::optional<Currency> currency = {};
  std::optional<std::string> total = {};

  enum class CodingKeys { currency, total };

  static constexpr StringRule totalRule{.pattern = detail::shortAmountPattern};
  static constexpr FieldRule rules[] = {{CodingKeys::total, totalRule}};

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const Amounts&) const = default;
};

/// The amounts of a sale: the total, the gratuity and the cash that the customer takes out.
struct AmountsExtended {
  Currency currency = Currency::usd;
  std::string total;
  std::optional<std::string> gratuity = {};
  std::optional<std::string> cashback = {};

  enum class CodingKeys { currency, total, gratuity, cashback };

  static constexpr StringRule totalRule{.pattern = detail::shortAmountPattern};
  static constexpr StringRule gratuityRule{.pattern = detail::amountPattern};
  static constexpr StringRule cashbackRule{.pattern = detail::shortAmountPattern};
  static constexpr FieldRule rules[] = {{CodingKeys::total, totalRule},
                                        {CodingKeys::gratuity, gratuityRule},
                                        {CodingKeys::cashback, cashbackRule}};

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const AmountsExtended&) const = default;
};

/// The amounts of a response. The JSON key of the gratuity is "Gratuity", the only key with a capital letter
/// at its start.
struct AmountsResponse {
  Currency currency = Currency::usd;
  std::string approved;
  std::string requested;
  std::optional<std::string> gratuity = {};
  std::optional<std::string> cashback = {};
  std::optional<std::string> surcharge = {};
  std::optional<std::string> additionalFee = {};
  std::optional<std::string> balance = {};

  enum class CodingKeys {
    currency,
    approved,
    requested,
    gratuity,
    cashback,
    surcharge,
    additionalFee,
    balance
  };

  static constexpr StringRule approvedRule{.pattern = detail::amountPattern};
  static constexpr StringRule requestedRule{.pattern = detail::amountPattern};
  static constexpr StringRule gratuityRule{.pattern = detail::amountPattern};
  static constexpr StringRule cashbackRule{.pattern = detail::amountPattern};
  static constexpr StringRule surchargeRule{.pattern = detail::amountPattern};
  static constexpr StringRule additionalFeeRule{.pattern = detail::amountPattern};
  static constexpr StringRule balanceRule{.pattern = detail::amountPattern};
  static constexpr FieldRule rules[] = {
      {CodingKeys::approved, approvedRule},   {CodingKeys::requested, requestedRule},
      {CodingKeys::gratuity, gratuityRule},   {CodingKeys::cashback, cashbackRule},
      {CodingKeys::surcharge, surchargeRule}, {CodingKeys::additionalFee, additionalFeeRule},
      {CodingKeys::balance, balanceRule}};

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const AmountsResponse&) const = default;
};

}  // namespace models

template <>
inline constexpr std::array json::renamedCases<models::AmountsResponse::CodingKeys>{
    std::pair{models::AmountsResponse::CodingKeys::gratuity, std::string_view("Gratuity")}};

}  // namespace tilvanego
