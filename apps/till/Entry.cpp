#include "Entry.h"

#include <cctype>
#include <optional>
#include <utility>

#include <tilvanego/values/Amount.h>

namespace tilvanego::till {
namespace {

using enum OperationKind;

std::string sentence(AmountError error, const std::string& name, const std::string& currency) {
  switch (error) {
    case AmountError::unknownCurrency:
      return "The currency is no code of three capital letters that has amounts, such as EUR.";
    case AmountError::notAnAmount:
      return "The " + name + " may have digits, and a point or a comma between them: 12.50.";
    case AmountError::tooManyFractionDigits:
      return "The " + name + " has more than the " +
             std::to_string(currencyFractionDigits(currency).value_or(0)) + " digits after the point that " +
             currency + " has.";
    case AmountError::tooLarge:
      return "The " + name + " has too many digits.";
  }
  return {};
}

std::expected<Decimal, std::string> amountOf(const std::string& text, const std::string& name,
                                             const std::string& currency) {
  if (text.empty()) return std::unexpected("The " + name + " is missing.");
  const char point = text.find('.') == std::string::npos && text.find(',') != std::string::npos ? ',' : '.';
  const auto amount = parseAmount(text, currency, point);
  if (!amount) return std::unexpected(sentence(amount.error(), name, currency));
  return *amount;
}

PaymentCredentials credentials(const Entry& entry) {
  return PaymentCredentials(
      {.basicToken = entry.basicToken, .accountId = entry.accountId, .environment = entry.environment});
}

std::optional<PaymentCredentials> credentialsIfAny(const Entry& entry) {
  return entry.basicToken.empty() ? std::nullopt : std::optional(credentials(entry));
}

}  // namespace

Needs needs(OperationKind kind) {
  const bool refersToPayment = kind == fullRefund || kind == partialRefund || kind == capture;
  return {.amount = kind == payment || kind == partialRefund || kind == capture,
          .tip = kind == payment,
          .currency = kind == payment || kind == save || kind == partialRefund || kind == capture,
          .transactionId = refersToPayment,
          .credentials = kind == payment || kind == save || kind == fullRefund || kind == partialRefund,
          .transport = kind == payment};
}

std::string operationName(OperationKind kind) {
  std::string name = operationWords(kind);
  name.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(name.front())));
  return name;
}

template <>
std::expected<PaymentRequest, std::string> makeRequest<payment>(const Entry& entry, std::string requestId,
                                                                const URL& callbackURL) {
  const auto amount = amountOf(entry.amount, "amount", entry.currency);
  if (!amount) return std::unexpected(amount.error());
  std::optional<Decimal> tip;
  if (!entry.tip.empty()) {
    const auto read = amountOf(entry.tip, "tip", entry.currency);
    if (!read) return std::unexpected(read.error());
    tip = *read;
  }
  return PaymentRequest({.requestId = std::move(requestId),
                         .amount = *amount,
                         .tip = tip,
                         .currency = entry.currency,
                         .callbackURL = callbackURL,
                         .credentials = credentialsIfAny(entry)});
}

template <>
std::expected<InitializationRequest, std::string> makeRequest<initialization>(const Entry& /*entry*/,
                                                                              std::string requestId,
                                                                              const URL& callbackURL) {
  return InitializationRequest(
      {.requestId = std::move(requestId), .callbackURL = callbackURL, .sourceApplication = "tilvanego-till"});
}

template <>
std::expected<TransactionListRequest, std::string> makeRequest<transactionList>(const Entry& /*entry*/,
                                                                                std::string requestId,
                                                                                const URL& callbackURL) {
  return TransactionListRequest({.requestId = std::move(requestId), .callbackURL = callbackURL});
}

template <>
std::expected<FullRefundRequest, std::string> makeRequest<fullRefund>(const Entry& entry,
                                                                      std::string requestId,
                                                                      const URL& callbackURL) {
  return FullRefundRequest({.requestId = std::move(requestId),
                            .transactionId = entry.transactionId,
                            .callbackURL = callbackURL,
                            .credentials = credentials(entry)});
}

template <>
std::expected<PartialRefundRequest, std::string> makeRequest<partialRefund>(const Entry& entry,
                                                                            std::string requestId,
                                                                            const URL& callbackURL) {
  const auto amount = amountOf(entry.amount, "amount", entry.currency);
  if (!amount) return std::unexpected(amount.error());
  return PartialRefundRequest({.requestId = std::move(requestId),
                               .transactionId = entry.transactionId,
                               .amount = *amount,
                               .callbackURL = callbackURL,
                               .credentials = credentials(entry)});
}

template <>
std::expected<CaptureRequest, std::string> makeRequest<capture>(const Entry& entry, std::string requestId,
                                                                const URL& callbackURL) {
  const auto amount = amountOf(entry.amount, "amount", entry.currency);
  if (!amount) return std::unexpected(amount.error());
  return CaptureRequest({.requestId = std::move(requestId),
                         .transactionId = entry.transactionId,
                         .amount = amountText(*amount, entry.currency).value_or(amount->text()),
                         .callbackURL = callbackURL});
}

template <>
std::expected<ClearDataRequest, std::string> makeRequest<clearData>(const Entry& /*entry*/,
                                                                    std::string requestId,
                                                                    const URL& callbackURL) {
  return ClearDataRequest({.requestId = std::move(requestId), .callbackURL = callbackURL});
}

template <>
std::expected<RebootRequest, std::string> makeRequest<reboot>(const Entry& /*entry*/, std::string requestId,
                                                              const URL& callbackURL) {
  return RebootRequest({.requestId = std::move(requestId), .callbackURL = callbackURL});
}

template <>
std::expected<SaveRequest, std::string> makeRequest<save>(const Entry& entry, std::string requestId,
                                                          const URL& callbackURL) {
  return SaveRequest({.requestId = std::move(requestId),
                      .callbackURL = callbackURL,
                      .currency = entry.currency,
                      .credentials = credentialsIfAny(entry)});
}

}  // namespace tilvanego::till
