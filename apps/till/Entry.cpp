#include "Entry.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>
#include <utility>

#include <tilvanego/values/Decimal.h>

namespace tilvanego::till {
namespace {

using enum OperationKind;

// A text as the library reads numbers.
std::string number(std::string text) {
  std::ranges::replace(text, ',', '.');
  return text;
}

// The library reads as much of a text as is a number; a person who mistypes wants to know.
bool isNumber(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
  return std::ranges::any_of(text, isDigit) && std::ranges::count(text, '.') <= 1 &&
         std::ranges::all_of(text, [&](char letter) { return isDigit(letter) || letter == '.'; });
}

std::expected<Decimal, std::string> decimal(const std::string& name, const std::string& text) {
  const std::string read = number(text);
  const auto value = isNumber(read) ? Decimal::parse(read) : std::nullopt;
  if (!value) return std::unexpected("The " + name + " is no number: \"" + text + "\".");
  return *value;
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
          .currency = kind == payment || kind == save,
          .transactionId = refersToPayment,
          .credentials = kind == payment || kind == save || kind == fullRefund || kind == partialRefund,
          .transport = kind == payment};
}

std::string operationName(OperationKind kind) {
  std::string name = operationWords(kind);
  name.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(name.front())));
  return name;
}

std::string amountText(const Entry& entry) {
  const Needs needed = needs(entry.kind);
  if (!needed.amount) return {};
  return needed.currency ? number(entry.amount) + " " + entry.currency : number(entry.amount);
}

template <>
std::expected<PaymentRequest, std::string> makeRequest<payment>(const Entry& entry, std::string requestId,
                                                                const URL& callbackURL) {
  const auto amount = decimal("amount", entry.amount);
  if (!amount) return std::unexpected(amount.error());
  std::optional<Decimal> tip;
  if (!entry.tip.empty()) {
    const auto read = decimal("tip", entry.tip);
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
  const auto amount = decimal("amount", entry.amount);
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
  if (const auto amount = decimal("amount", entry.amount); !amount) return std::unexpected(amount.error());
  return CaptureRequest({.requestId = std::move(requestId),
                         .transactionId = entry.transactionId,
                         .amount = number(entry.amount),
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
