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
  /// With a point or a comma, and no more digits after it than the currency has; a tip may be empty.
  std::string amount = {};
  std::string tip = {};
  /// Three capital letters of ISO 4217. A refund or a capture doesn't send it.
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

/// The request of an operation. Fails with a sentence for the person if an amount can't be read.
template <OperationKind kind>
[[nodiscard]] std::expected<typename OperationRecords<kind>::Request, std::string> makeRequest(
    const Entry& entry, std::string requestId, const URL& callbackURL);

}  // namespace tilvanego::till
