#pragma once

#include <tilvanego/json/CodingKeys.h>

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
inline constexpr bool json::namesAreTexts<PaymentTransactionType> = true;

}  // namespace tilvanego
