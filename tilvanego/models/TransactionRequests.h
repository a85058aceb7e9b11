#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <tilvanego/models/Amounts.h>
#include <tilvanego/models/Parties.h>
#include <tilvanego/models/Patterns.h>
#include <tilvanego/models/Record.h>
#include <tilvanego/models/Trace.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

/// A sale or an authorization.
struct SaleAndAuthRequest {
  std::optional<std::int64_t> timeout = {};
  std::optional<std::string> transactionId = {};
  AmountsExtended amounts;
  std::optional<std::int64_t> mmId = {};
  std::optional<std::string> description = {};
  std::optional<Trace> trace = {};
  std::optional<Healthcare> healthcare = {};
  std::optional<Customer> customer = {};
  std::optional<ShippingAddress> shippingAddress = {};
  std::optional<EBT> ebt = {};
  std::optional<bool> savePayment = {};

  enum class CodingKeys {
    timeout,
    transactionId,
    amounts,
    mmId,
    description,
    trace,
    healthcare,
    customer,
    shippingAddress,
    ebt,
    savePayment
  };

  static constexpr StringRule transactionIdRule{.pattern = detail::transactionIdPattern};
  static constexpr NumericRule<std::int64_t> mmIdRule{.minimum = 0, .maximum = 24};
  static constexpr FieldRule rules[] = {{CodingKeys::transactionId, transactionIdRule},
                                        {CodingKeys::mmId, mmIdRule}};

  bool operator==(const SaleAndAuthRequest&) const = default;
};

/// A refund. Without amounts, the whole amount is refunded.
struct RefundRequest {
  std::optional<std::int64_t> timeout = {};
  std::optional<Amounts> amounts = {};
  std::optional<std::string> description = {};
  std::optional<Trace> trace = {};
  std::optional<Customer> customer = {};
  std::optional<ShippingAddress> shippingAddress = {};

  enum class CodingKeys { timeout, amounts, description, trace, customer, shippingAddress };

  bool operator==(const RefundRequest&) const = default;
};

/// A credit without an earlier transaction.
struct CreditRequest {
  std::optional<std::int64_t> timeout = {};
  std::optional<std::string> transactionId = {};
  std::optional<std::int64_t> mmId = {};
  Amounts amounts;
  std::optional<std::string> description = {};
  std::optional<Trace> trace = {};
  std::optional<bool> savePayment = {};

  enum class CodingKeys { timeout, transactionId, mmId, amounts, description, trace, savePayment };

  static constexpr StringRule transactionIdRule{.pattern = detail::transactionIdPattern};
  static constexpr NumericRule<std::int64_t> mmIdRule{.minimum = 0, .maximum = 24};
  static constexpr FieldRule rules[] = {{CodingKeys::transactionId, transactionIdRule},
                                        {CodingKeys::mmId, mmIdRule}};

  bool operator==(const CreditRequest&) const = default;
};

/// A sale that was authorized by other means, with its authorization code.
struct ForceRequest {
  std::optional<std::int64_t> timeout = {};
  std::optional<std::string> transactionId = {};
  std::optional<std::int64_t> mmId = {};
  std::string authCode;
  AmountsExtended amounts;
  std::optional<std::string> description = {};
  std::optional<Trace> trace = {};
  std::optional<Customer> customer = {};
  std::optional<ShippingAddress> shippingAddress = {};
  std::optional<bool> savePayment = {};

  enum class CodingKeys {
    timeout,
    transactionId,
    mmId,
    authCode,
    amounts,
    description,
    trace,
    customer,
    shippingAddress,
    savePayment
  };

  static constexpr StringRule transactionIdRule{.pattern = detail::transactionIdPattern};
  static constexpr NumericRule<std::int64_t> mmIdRule{.minimum = 0, .maximum = 24};
  static constexpr FieldRule rules[] = {{CodingKeys::transactionId, transactionIdRule},
                                        {CodingKeys::mmId, mmIdRule}};

  bool operator==(const ForceRequest&) const = default;
};

}  // namespace models
}  // namespace tilvanego
