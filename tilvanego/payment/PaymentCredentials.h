#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

#include <tilvanego/json/Record.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The account for which the payment application acts.
///
/// The token is a secret: no log line, debug line or description shows it, and a record overwrites it in
/// memory when it is destroyed. docs/transports.md says how each transport carries it.
///
/// The JSON form is an object with three required strings: "basic_token", "account_id" and "environment".
/// They are read and written unchanged: reading JSON does not convert the environment to capitals.
class PaymentCredentials {
 public:
  struct Fields {
    std::string basicToken;
    std::string accountId;
    /// Must be "STAGING", "CERT" or "PROD". The constructor trims it and converts it to capitals.
    std::string environment;

    static constexpr std::size_t fieldCount = 3;
    bool operator==(const Fields&) const = default;
  };

  /// Stores the token and the account as they are, the environment trimmed and in capitals.
  explicit PaymentCredentials(Fields fields);

  PaymentCredentials(const PaymentCredentials&) = default;
  PaymentCredentials(PaymentCredentials&&) noexcept = default;
  PaymentCredentials& operator=(PaymentCredentials other) noexcept;
  ~PaymentCredentials();

  [[nodiscard]] const std::string& basicToken() const { return basicToken_; }
  [[nodiscard]] const std::string& accountId() const { return accountId_; }
  [[nodiscard]] const std::string& environment() const { return environment_; }

  bool operator==(const PaymentCredentials&) const = default;
  /// Writes account and environment.
  friend std::ostream& operator<<(std::ostream& out, const PaymentCredentials& credentials) {
    return credentials.show(out);
  }

 private:
  std::ostream& show(std::ostream& out) const;
  friend struct json::RecordAccess;
  PaymentCredentials() = default;

  static constexpr auto jsonFields() {
    return json::fields(json::field("basic_token", &PaymentCredentials::basicToken_),
                        json::field("account_id", &PaymentCredentials::accountId_),
                        json::field("environment", &PaymentCredentials::environment_));
  }

  std::string basicToken_;
  std::string accountId_;
  std::string environment_;
};

}  // namespace tilvanego
