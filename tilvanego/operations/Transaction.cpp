#include <tilvanego/operations/Transaction.h>

#include <initializer_list>
#include <string_view>
#include <utility>

#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

/// Joins the texts that are present, also empty ones.
std::string joined(std::initializer_list<std::optional<std::string_view>> parts, char separator) {
  std::string text;
  bool isFirst = true;
  for (const auto& part : parts) {
    if (!part) continue;
    if (!std::exchange(isFirst, false)) text += separator;
    text += *part;
  }
  return text;
}

}  // namespace

TilvaneGoTransactionType transactionTypeFrom(std::string_view text) {
  const std::string lower = lowercased(text);
  const std::string_view word = trimmed(lower);
  if (word == "auth" || word == "authorization") return TilvaneGoTransactionType::authorization;
  if (word == "_init" || word == "initialization") return TilvaneGoTransactionType::initialization;
  return fromRawText<TilvaneGoTransactionType>(lower).value_or(
      TilvaneGoTransactionType::unknownDefaultOpenApi);
}

std::string TilvaneGoTransactionDetails::cardLabel() const {
  return joined({cardBrand.transform(rawText<models::CardBrand>), cardLast4}, ' ');
}

Decimal TilvaneGoTransaction::totalAmount() const { return tip ? amount + *tip : amount; }

std::string TilvaneGoTransaction::id() const {
  const std::string amountText = amount.text();
  return joined(
      {transactionDetails.transactionId, customId, customID, transactionDetails.timestamp, amountText}, '-');
}

namespace support {

bool TolerantTransactionType::read(json::Reader& reader, TilvaneGoTransactionType& type) {
  std::string_view text;
  if (!reader.readText(text)) return false;
  type = transactionTypeFrom(text);
  return true;
}

bool TolerantTransactionType::write(json::Writer& writer, TilvaneGoTransactionType type) {
  return json::Codec<TilvaneGoTransactionType>::write(writer, type);
}

}  // namespace support
}  // namespace tilvanego
