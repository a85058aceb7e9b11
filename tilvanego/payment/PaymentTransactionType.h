#pragma once

#include <array>
#include <string_view>
#include <utility>

#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// What a payment is to do.
enum class PaymentTransactionType {
  sale,  ///< authorise and capture
  auth,  ///< authorise only, to be captured later
  /// Store a card. A payment request of this type has the amount 0 and therefore fails with
  /// `invalidRequest`. Use `TilvaneGo::save`.
  save,
};

template <>
struct RawTexts<PaymentTransactionType> {
  static constexpr std::array table{
      std::pair{PaymentTransactionType::sale, std::string_view("sale")},
      std::pair{PaymentTransactionType::auth, std::string_view("auth")},
      std::pair{PaymentTransactionType::save, std::string_view("save")},
  };
};

}  // namespace tilvanego
