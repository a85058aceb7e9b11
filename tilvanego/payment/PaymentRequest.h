#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/frame/RequestRecord.h>
#include <tilvanego/payment/PaymentCredentials.h>
#include <tilvanego/payment/PaymentTransactionType.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `PaymentRequest`.
struct PaymentRequestFields {
  /// The host's own id for this payment. A callback with another id fails with `requestIdMismatch`; a
  /// callback without an id is accepted. The id is sent untrimmed.
  std::string requestId;
  /// In the currency's main unit, as 12.50 for twelve euro fifty. Must be greater than zero.
  Decimal amount;
  /// In the same unit, on top of the amount. Must not be negative.
  std::optional<Decimal> tip = std::nullopt;
  PaymentTransactionType transactionType = PaymentTransactionType::sale;
  /// The three-letter code of ISO 4217. The constructor trims it and converts it to capitals.
  std::string currency;
  /// The URL that the payment application opens when it is done. Its scheme must be one that the system
  /// passes to the host. Give each payment a path of its own, such as "myshop://payment-done/A-1001": a late
  /// callback of a cancelled payment is then ignored, and doesn't end the next one.
  URL callbackURL;
  /// The merchant's own reference.
  std::optional<std::string> customId = std::nullopt;
  std::optional<std::string> notes = std::nullopt;
  std::optional<PaymentCredentials> credentials = std::nullopt;
  /// Whether the card reader must be ready before the payment starts. The default is true.
  bool requiresReaderReady = true;

  static constexpr std::size_t fieldCount = 10;
  bool operator==(const PaymentRequestFields&) const = default;
};

/// A payment request. An immutable value. It is checked when it is started, not when it is constructed.
///
/// ```cpp
/// #include <tilvanego/values/Literals.h>
///
/// PaymentRequest request({.requestId = "A-1001",
///                         .amount = "12.50"_decimal,
///                         .transactionType = PaymentTransactionType::sale,
///                         .currency = "EUR",
///                         .callbackURL = "myshop://payment-done"_url});
/// ```
class PaymentRequest : public RequestRecord<OperationKind::payment, PaymentRequestFields> {
 public:
  /// Stores the fields unchanged, with two exceptions: the currency is trimmed and converted to capitals;
  /// for the type `save`, amount and tip are set to 0.
  explicit PaymentRequest(Fields fields);

  [[nodiscard]] const std::string& requestId() const { return fields_.requestId; }
  [[nodiscard]] const Decimal& amount() const { return fields_.amount; }
  [[nodiscard]] const std::optional<Decimal>& tip() const { return fields_.tip; }
  [[nodiscard]] PaymentTransactionType transactionType() const { return fields_.transactionType; }
  [[nodiscard]] const std::string& currency() const { return fields_.currency; }
  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
  [[nodiscard]] const std::optional<std::string>& customId() const { return fields_.customId; }
  [[nodiscard]] const std::optional<std::string>& notes() const { return fields_.notes; }
  [[nodiscard]] const std::optional<PaymentCredentials>& credentials() const { return fields_.credentials; }
  [[nodiscard]] bool requiresReaderReady() const { return fields_.requiresReaderReady; }
};

}  // namespace tilvanego
