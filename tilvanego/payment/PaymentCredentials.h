#pragma once

#include <string>

namespace tilvanego {

/// The account that the payment application is to act for.
///
/// The token is a secret: no log line, debug line or description shows it. It is kept as long as the record
/// that holds it; see docs/payments.md for how each transport carries it.
class PaymentCredentials {
 public:
  struct Fields {
    std::string basicToken;
    std::string accountId;
    /// "STAGING", "CERT" or "PROD"; whitespace around it and lower-case letters are mended.
    std::string environment;
    bool operator==(const Fields&) const = default;
  };

  /// Stores the token and the account as they are, the environment trimmed and in capitals.
  explicit PaymentCredentials(Fields fields);

  [[nodiscard]] const std::string& basicToken() const { return fields_.basicToken; }
  [[nodiscard]] const std::string& accountId() const { return fields_.accountId; }
  [[nodiscard]] const std::string& environment() const { return fields_.environment; }

  bool operator==(const PaymentCredentials&) const = default;

 private:
  Fields fields_;
};

}  // namespace tilvanego
