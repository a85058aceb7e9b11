#include <tilvanego/payment/PaymentTexts.h>

#include <optional>
#include <utility>

#include <tilvanego/payment/PaymentTransactionType.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::detail {
namespace {

std::unexpected<PaymentError> refused(std::string message) {
  return std::unexpected<PaymentError>(cases::InvalidRequest{std::move(message)});
}

std::optional<std::string> presentUnlessEmpty(std::string text) {
  return text.empty() ? std::nullopt : std::optional(std::move(text));
}

}  // namespace

std::expected<PaymentRequest, PaymentError> paymentRequestFromTexts(
    std::string requestId, const std::string& amount, const std::string& type, std::string currency,
    const std::string& returnUrl, std::string customId, std::string notes) {
  const auto number = Decimal::parse(amount);
  if (!number) return refused("Amount must be a decimal value.");
  const auto transactionType = fromRawText<PaymentTransactionType>(lowercased(type));
  if (!transactionType) return refused("Unsupported transaction type: " + type + ".");
  auto callbackURL = URL::parse(returnUrl);
  if (!callbackURL) return refused("Return URL is invalid.");
  return PaymentRequest({.requestId = std::move(requestId),
                         .amount = *number,
                         .transactionType = *transactionType,
                         .currency = std::move(currency),
                         .callbackURL = *std::move(callbackURL),
                         .customId = presentUnlessEmpty(std::move(customId)),
                         .notes = presentUnlessEmpty(std::move(notes)),
                         .credentials = std::nullopt,
                         .requiresReaderReady = true});
}

}  // namespace tilvanego::detail
