#pragma once

#include <cstddef>
#include <string>
#include <variant>

#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/frame/RequestRecord.h>
#include <tilvanego/operations/RefundResponse.h>
#include <tilvanego/payment/PaymentCredentials.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `PartialRefundRequest`.
struct PartialRefundRequestFields {
  /// The host's own id for this request. A callback with another id fails with `requestIdMismatch`; a
  /// callback without an id is accepted. The id is trimmed.
  std::string requestId;
  /// The transaction to refund. Stored trimmed.
  std::string transactionId;
  /// The amount to refund, in the currency's main unit, as 12.50 for twelve euro fifty. Must be greater than
  /// zero.
  Decimal amount;
  /// The URL that the payment application opens when it is done. Its scheme must be one that the system
  /// passes to the host.
  URL callbackURL;
  PaymentCredentials credentials;

  static constexpr std::size_t fieldCount = 5;
  bool operator==(const PartialRefundRequestFields&) const = default;
};

/// A request to refund a part of an earlier transaction. An immutable value. It is checked when it is
/// started, not when it is constructed.
class PartialRefundRequest : public RequestRecord<OperationKind::partialRefund, PartialRefundRequestFields> {
 public:
  /// Stores the fields unchanged, except that both ids are trimmed.
  explicit PartialRefundRequest(Fields fields);

  [[nodiscard]] const std::string& requestId() const { return fields_.requestId; }
  [[nodiscard]] const std::string& transactionId() const { return fields_.transactionId; }
  [[nodiscard]] const Decimal& amount() const { return fields_.amount; }
  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
  [[nodiscard]] const PaymentCredentials& credentials() const { return fields_.credentials; }
};

/// The items of a partial refund's callback.
class PartialRefundResponse : public RefundResponse {
 public:
  using RefundResponse::RefundResponse;
  bool operator==(const PartialRefundResponse&) const = default;
};

/// The cases of `PartialRefundError`, reached as `PartialRefundError::InvalidRequest` and so on.
struct PartialRefundErrorCases {
  using InvalidRequest = cases::InvalidRequest;
  struct RequestIdMismatch : cases::RequestIdMismatch<"Partial refund"> {};
  struct PartialRefundFailed : cases::FailedWithCode<"partialRefundFailed", "Partial refund"> {};
  struct PartialRefundAppNotInstalled : cases::Plain<"partialRefundAppNotInstalled", cases::appNotInstalled> {
  };
  struct PartialRefundInProgress
      : cases::Plain<"partialRefundInProgress", "A partial refund request is already in progress."> {};
  struct InvalidCallback
      : cases::Plain<"invalidCallback", "The partial refund callback could not be parsed."> {};
  struct MissingStatus : cases::Plain<"missingStatus", "Partial refund callback is missing a status."> {};

  using Variant =
      std::variant<InvalidRequest, RequestIdMismatch, PartialRefundFailed, PartialRefundAppNotInstalled,
                   PartialRefundInProgress, InvalidCallback, MissingStatus>;
};

/// Why a partial refund failed: one of the cases above.
class PartialRefundError : public cases::ErrorUnion<PartialRefundErrorCases> {
 public:
  using ErrorUnion::ErrorUnion;
};

/// How a partial refund ended: `Success` with the `response` of the callback, or `Failure` with an `error`
/// and, if the items of a callback could be read, its `response`.
class PartialRefundResult
    : public cases::ResultUnion<PartialRefundResponse, PartialRefundError, cases::Success> {
 public:
  using ResultUnion::ResultUnion;
  using Success = cases::Success<PartialRefundResponse>;
};

template <>
struct OperationRecords<OperationKind::partialRefund>
    : RecordTypes<PartialRefundRequest, PartialRefundResult> {};

}  // namespace tilvanego
