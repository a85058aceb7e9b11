#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `PaymentResponse`.
struct PaymentResponseFields {
  /// The URL that was read.
  URL callbackURL;
  std::optional<std::string> requestId = std::nullopt;
  std::optional<std::string> status = std::nullopt;
  std::optional<std::string> processorMessage = std::nullopt;
  std::optional<std::string> approvalCode = std::nullopt;
  std::optional<std::string> transactionId = std::nullopt;
  std::optional<std::string> customId = std::nullopt;

  static constexpr std::size_t fieldCount = 7;
  bool operator==(const PaymentResponseFields&) const = default;
};

/// The items of a payment's callback, percent-decoded but not trimmed. An immutable value.
class PaymentResponse : public ResponseRecord<PaymentResponseFields> {
 public:
  using ResponseRecord::ResponseRecord;

  [[nodiscard]] const std::optional<std::string>& processorMessage() const {
    return fields_.processorMessage;
  }
  [[nodiscard]] const std::optional<std::string>& approvalCode() const { return fields_.approvalCode; }
  [[nodiscard]] const std::optional<std::string>& transactionId() const { return fields_.transactionId; }
  [[nodiscard]] const std::optional<std::string>& customId() const { return fields_.customId; }
};

/// How a payment ended: `Success`, `Cancelled` or `Declined`, each with the `response` of the callback, or
/// `Failure` with an `error` and, if the items of a callback could be read, its `response`.
///
/// ```cpp
/// std::string approvalCode(const PaymentResult& result) {
///   const auto* paid = std::get_if<PaymentResult::Success>(&result);
///   return paid == nullptr ? "" : paid->response.approvalCode().value_or("");
/// }
/// ```
class PaymentResult : public cases::ResultUnion<PaymentResponse, PaymentError, cases::Success,
                                                cases::Cancelled, cases::Declined> {
 public:
  using ResultUnion::ResultUnion;
  using Success = cases::Success<PaymentResponse>;
  using Cancelled = cases::Cancelled<PaymentResponse>;
  using Declined = cases::Declined<PaymentResponse>;
};

template <>
struct OperationRecords<OperationKind::payment> : RecordTypes<PaymentRequest, PaymentResult> {};

}  // namespace tilvanego
