#pragma once

#include <string>
#include <string_view>

#include <tilvanego/values/Amount.h>

namespace tilvanego::program {

/// An amount for a reader: "12.50 EUR", "12 JPY". With all its digits if it has more than its currency, and
/// without the currency if that is empty.
[[nodiscard]] inline std::string amountWithCurrency(const Decimal& amount, std::string_view currency) {
  const std::string text = amountText(amount, currency).value_or(amount.text());
  return currency.empty() ? text : text + " " + std::string(currency);
}

}  // namespace tilvanego::program
