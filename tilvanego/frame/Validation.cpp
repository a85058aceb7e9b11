#include <tilvanego/frame/Validation.h>

#include <algorithm>

#include <tilvanego/values/Text.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

bool isBlank(std::string_view text) { return trimmed(text).empty(); }

std::optional<std::string_view> checkRequestId(std::string_view requestId) {
  if (isBlank(requestId)) return "Request ID is required.";
  return std::nullopt;
}

std::optional<std::string_view> checkTransactionId(std::string_view transactionId) {
  if (isBlank(transactionId)) return "Transaction ID is required.";
  return std::nullopt;
}

std::optional<std::string_view> checkCallbackURL(const URL& url) {
  if (url.scheme().value_or("").empty()) return "Callback URL must include a URL scheme.";
  return std::nullopt;
}

std::optional<std::string_view> checkCurrency(std::string_view currency) {
  // Equals the pattern ^[A-Z]{3}$: its "$" would also match before a line end at the end of the text, but
  // records trim the currency.
  const bool matches =
      currency.size() == 3 && std::ranges::all_of(currency, [](char c) { return c >= 'A' && c <= 'Z'; });
  if (!matches) return "Currency must be a three-letter ISO 4217 code.";
  return std::nullopt;
}

bool isKnownEnvironment(std::string_view environment) {
  return environment == "STAGING" || environment == "CERT" || environment == "PROD";
}

}  // namespace support
}  // namespace tilvanego
