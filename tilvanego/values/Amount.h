#pragma once

#include <array>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/RawText.h>

/// Amounts of money as a person types and reads them. Any thread may call these functions.
///
/// ```cpp
/// // A till of a country with a decimal comma.
/// const auto amount = parseAmount("12,50", "EUR", ',');  // parseAmount("12,50", "EUR") is refused
/// const auto shown = amount ? amountText(*amount, "EUR") : std::unexpected(amount.error());  // "12.50"
/// ```
namespace [[gnu::visibility("default")]] tilvanego {

/// Why a text is no amount of a currency, or a number has no text as one.
enum class AmountError {
  unknownCurrency,  ///< no code of three capital letters, or a code without a smallest unit, such as XAU
  notAnAmount,      ///< empty, or something that isn't a digit or the one decimal point stands in it
  tooManyFractionDigits,  ///< more digits after the point than the currency has: "12.500" in euro
  tooLarge,               ///< more digits than a `Decimal` holds
};

template <>
struct RawTexts<AmountError> {
  using enum AmountError;
  static constexpr std::array table{
      std::pair(unknownCurrency, std::string_view("unknownCurrency")),
      std::pair(notAnAmount, std::string_view("notAnAmount")),
      std::pair(tooManyFractionDigits, std::string_view("tooManyFractionDigits")),
      std::pair(tooLarge, std::string_view("tooLarge")),
  };
};

/// Returns how many digits after the point the currency of this ISO 4217 code has: 2 for EUR, 0 for JPY, 3
/// for KWD. A code of three capital letters that this library doesn't know has 2. Returns no value for any
/// other text and for codes of what has no smallest unit, such as gold (XAU).
[[nodiscard]] std::optional<unsigned> currencyFractionDigits(std::string_view currency);

/// Reads the whole text as an amount, or refuses it: ASCII digits, and after a `decimalPoint` at most as many
/// more as the currency has. At least one digit stands on each side of the point. No sign, no blanks, no
/// grouping, no exponent.
[[nodiscard]] std::expected<Decimal, AmountError> parseAmount(std::string_view text,
                                                              std::string_view currency,
                                                              char decimalPoint = '.');

/// Returns the amount with exactly the digits that its currency has: "12.50", for JPY "12". A negative number
/// begins with "-". Refuses a number that has more digits; it rounds nothing.
[[nodiscard]] std::expected<std::string, AmountError> amountText(const Decimal& amount,
                                                                 std::string_view currency,
                                                                 char decimalPoint = '.');

}  // namespace tilvanego
