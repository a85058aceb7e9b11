#pragma once

#include <expected>
#include <string>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/operations/Records.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::till {

/// What the person at the till has entered.
struct Entry {
  OperationKind kind = OperationKind::payment;
  /// Decimal numbers, with a point or a comma; a tip may be empty.
  std::string amount = {};
  std::string tip = {};
  std::string currency = "EUR";
  /// Of the payment that is refunded or captured.
  std::string transactionId = {};
  /// The credentials of the merchant: a secret, an account and an environment ("STAGING"). A refund needs
  /// them; other operations send them if there is a token.
  std::string basicToken = {};
  std::string accountId = {};
  std::string environment = "STAGING";
  /// Of a payment.
  PaymentLaunchTransport transport = PaymentLaunchTransport::urlScheme();
};

/// The fields of an entry that an operation uses.
struct Needs {
  bool amount;
  bool tip;
  bool currency;
  bool transactionId;
  bool credentials;
  bool transport;
};
[[nodiscard]] Needs needs(OperationKind kind);

/// "Payment", "Partial refund".
[[nodiscard]] std::string operationName(OperationKind kind);

/// The amount for a reader, "12.50 EUR"; empty for an operation without one.
[[nodiscard]] std::string amountText(const Entry& entry);

/// The request of an operation. Fails with a sentence for the person if a number can't be read.
template <OperationKind kind>
[[nodiscard]] std::expected<typename OperationRecords<kind>::Request, std::string> makeRequest(
    const Entry& entry, std::string requestId, const URL& callbackURL);

}  // namespace tilvanego::till
