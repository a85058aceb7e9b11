#include <tilvanego/values/Amount.h>

#include <algorithm>
#include <cstddef>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// The currencies that don't have two digits after the point (ISO 4217, list one).
constexpr std::string_view without[] = {"BIF", "CLP", "DJF", "GNF", "ISK", "JPY", "KMF", "KRW", "PYG",
                                        "RWF", "UGX", "UYI", "VND", "VUV", "XAF", "XOF", "XPF"};
constexpr std::string_view withThree[] = {"BHD", "IQD", "JOD", "KWD", "LYD", "OMR", "TND"};
constexpr std::string_view withFour[] = {"CLF", "UYW"};
// Metals, units of account, and what isn't a currency.
constexpr std::string_view withoutUnit[] = {"XAG", "XAU", "XBA", "XBB", "XBC", "XBD", "XDR",
                                            "XPD", "XPT", "XSU", "XTS", "XUA", "XXX"};

bool areDigits(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::optional<unsigned> currencyFractionDigits(std::string_view currency) {
  const auto isIn = [currency](const auto& list) {
    return std::ranges::find(list, currency) != std::end(list);
  };
  const bool isCode =
      currency.size() == 3 && std::ranges::all_of(currency, [](char c) { return c >= 'A' && c <= 'Z'; });
  if (!isCode || isIn(withoutUnit)) return std::nullopt;
  return isIn(without) ? 0U : isIn(withThree) ? 3U : isIn(withFour) ? 4U : 2U;
}

std::expected<Decimal, AmountError> parseAmount(std::string_view text, std::string_view currency,
                                                char decimalPoint) {
  const auto digits = currencyFractionDigits(currency);
  if (!digits) return std::unexpected(AmountError::unknownCurrency);
  const std::size_t point = std::min(text.find(decimalPoint), text.size());
  const std::string_view whole = text.substr(0, point);
  if (!areDigits(whole)) return std::unexpected(AmountError::notAnAmount);
  std::string number(whole);
  if (point < text.size()) {
    const std::string_view fraction = text.substr(point + 1);
    if (!areDigits(fraction)) return std::unexpected(AmountError::notAnAmount);
    if (fraction.size() > *digits) return std::unexpected(AmountError::tooManyFractionDigits);
    number.append(".").append(fraction);
  }
  const auto amount = Decimal::parseExact(number);
  if (!amount) return std::unexpected(AmountError::tooLarge);
  return *amount;
}

std::expected<std::string, AmountError> amountText(const Decimal& amount, std::string_view currency,
                                                   char decimalPoint) {
  const auto digits = currencyFractionDigits(currency);
  if (!digits) return std::unexpected(AmountError::unknownCurrency);
  const unsigned shown = amount.fractionDigits();
  if (shown > *digits) return std::unexpected(AmountError::tooManyFractionDigits);
  std::string text = amount.text();
  if (*digits == 0) return text;
  if (shown == 0) text += decimalPoint;
  text.append(*digits - shown, '0');
  if (shown > 0) text[text.size() - *digits - 1] = decimalPoint;
  return text;
}

}  // namespace tilvanego
