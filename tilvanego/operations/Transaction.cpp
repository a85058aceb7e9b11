#include <tilvanego/operations/Transaction.h>

#include <string_view>
#include <utility>

#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

/// Joins texts with a separator. An absent text adds nothing, not even a separator; an empty one does.
class Joined {
 public:
  explicit Joined(std::string_view separator) : separator_(separator) {}

  void add(std::string_view part) {
    if (hasParts_) text_ += separator_;
    hasParts_ = true;
    text_ += part;
  }
  void addIfPresent(const std::optional<std::string>& part) {
    if (part) add(*part);
  }
  [[nodiscard]] std::string take() && { return std::move(text_); }

 private:
  std::string_view separator_;
  std::string text_;
  bool hasParts_ = false;
};

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
  Joined label(" ");
  if (cardBrand) label.add(rawText(*cardBrand));
  label.addIfPresent(cardLast4);
  return std::move(label).take();
}

Decimal TilvaneGoTransaction::totalAmount() const { return tip ? amount + *tip : amount; }

std::string TilvaneGoTransaction::id() const {
  Joined id("-");
  id.addIfPresent(transactionDetails.transactionId);
  id.addIfPresent(customId);
  id.addIfPresent(customID);
  id.addIfPresent(transactionDetails.timestamp);
  id.add(amount.text());
  return std::move(id).take();
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
