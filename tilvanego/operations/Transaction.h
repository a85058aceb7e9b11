#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <tilvanego/json/JSON.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/operations/TransactionType.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The details of a stored transaction. Texts are unchanged; amounts and the timestamp are texts, too. In
/// JSON every field may be missing or null when it is read; an absent field isn't written.
struct TilvaneGoTransactionDetails {
  std::optional<models::Status> status = std::nullopt;
  std::optional<std::string> description = std::nullopt;
  std::optional<std::string> transactionId = std::nullopt;
  std::optional<std::string> timestamp = std::nullopt;
  std::optional<std::string> approvedAmount = std::nullopt;
  std::optional<std::string> requestedAmount = std::nullopt;
  std::optional<std::string> authCode = std::nullopt;
  std::optional<std::string> processorMessage = std::nullopt;
  std::optional<models::ResponseEntryMode> entryMode = std::nullopt;
  std::optional<models::CardBrand> cardBrand = std::nullopt;
  std::optional<std::string> cardLast4 = std::nullopt;

  static constexpr std::size_t fieldCount = 11;
  bool operator==(const TilvaneGoTransactionDetails&) const = default;

  /// The raw text of the card brand, a blank and the last four digits: "VISA 4242". If one of them is absent,
  /// only the other; empty without both.
  [[nodiscard]] std::string cardLabel() const;

  static constexpr auto jsonFields() {
    using Details = TilvaneGoTransactionDetails;
    return json::fields(
        json::field("status", &Details::status), json::field("description", &Details::description),
        json::field("transactionId", &Details::transactionId), json::field("timestamp", &Details::timestamp),
        json::field("approvedAmount", &Details::approvedAmount),
        json::field("requestedAmount", &Details::requestedAmount),
        json::field("authCode", &Details::authCode),
        json::field("processorMessage", &Details::processorMessage),
        json::field("entryMode", &Details::entryMode), json::field("cardBrand", &Details::cardBrand),
        json::field("cardLast4", &Details::cardLast4));
  }
};

namespace support {

/// Read by `transactionTypeFrom`, written by the raw text.
struct TolerantTransactionType {
  static bool read(json::Reader& reader, TilvaneGoTransactionType& type);
  static bool write(json::Writer& writer, TilvaneGoTransactionType type);
};

}  // namespace support

/// A transaction that the payment application has stored.
///
/// Its JSON has two forms on purpose: `json::decode` reads amounts as numbers, `json::encode` writes them as
/// texts. So written JSON can't be read again. A number is read as the shortest decimal that reads back as
/// the same 64-bit float, and written with at most three fraction digits.
struct TilvaneGoTransaction {
  /// In the currency's main unit, as 12.50 for twelve euro fifty.
  Decimal amount;
  /// In the same unit, on top of the amount.
  std::optional<Decimal> tip = std::nullopt;
  std::optional<TilvaneGoTransactionType> type = std::nullopt;
  /// Two fields with two JSON keys, both unchanged.
  std::optional<std::string> customId = std::nullopt;
  std::optional<std::string> customID = std::nullopt;
  std::optional<std::string> notes = std::nullopt;
  TilvaneGoTransactionDetails transactionDetails = {};

  static constexpr std::size_t fieldCount = 7;
  bool operator==(const TilvaneGoTransaction&) const = default;

  /// Amount and tip together.
  [[nodiscard]] Decimal totalAmount() const;

  /// A text that distinguishes transactions: transaction id, both custom ids, timestamp and amount, as far as
  /// they are present, joined by "-". Never empty. For lists on a screen only: a refund or a capture takes
  /// `transactionDetails.transactionId`.
  [[nodiscard]] std::string id() const;

  static constexpr auto jsonFields() {
    using Transaction = TilvaneGoTransaction;
    return json::fields(json::field<json::AmountFromNumber>("amount", &Transaction::amount),
                        json::field<json::AmountFromNumber>("tip", &Transaction::tip),
                        json::field<support::TolerantTransactionType>("type", &Transaction::type),
                        json::field("customId", &Transaction::customId),
                        json::field("customID", &Transaction::customID),
                        json::field("notes", &Transaction::notes),
                        json::field("transactionDetails", &Transaction::transactionDetails));
  }
};

}  // namespace tilvanego
