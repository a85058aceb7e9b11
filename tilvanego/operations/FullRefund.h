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
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `FullRefundRequest`.
struct FullRefundRequestFields {
  /// The host's own id for this request. A callback with another id fails with `requestIdMismatch`; a
  /// callback without an id is accepted. The id is trimmed.
  std::string requestId;
  /// The transaction to refund. Stored trimmed.
  std::string transactionId;
  /// The URL that the payment application opens when it is done. Its scheme must be one that the system
  /// passes to the host.
  URL callbackURL;
  PaymentCredentials credentials;

  static constexpr std::size_t fieldCount = 4;
  bool operator==(const FullRefundRequestFields&) const = default;
};

/// A request to refund an earlier transaction in full. An immutable value. It is checked when it is started,
/// not when it is constructed.
class FullRefundRequest : public RequestRecord<OperationKind::fullRefund, FullRefundRequestFields> {
 public:
  /// Stores the fields unchanged, except that both ids are trimmed.
  explicit FullRefundRequest(Fields fields);

  [[nodiscard]] const std::string& requestId() const { return fields_.requestId; }
  [[nodiscard]] const std::string& transactionId() const { return fields_.transactionId; }
  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
  [[nodiscard]] const PaymentCredentials& credentials() const { return fields_.credentials; }
};

/// The items of a full refund's callback.
class FullRefundResponse : public RefundResponse {
 public:
  using RefundResponse::RefundResponse;
  bool operator==(const FullRefundResponse&) const = default;
};

/// The cases of `FullRefundError`, reached as `FullRefundError::InvalidRequest` and so on.
struct FullRefundErrorCases {
  using InvalidRequest = cases::InvalidRequest;
  struct RequestIdMismatch : cases::RequestIdMismatch<"Full refund"> {};
  struct FullRefundFailed : cases::FailedWithCode<"fullRefundFailed", "Full refund"> {};
  struct FullRefundAppNotInstalled : cases::Plain<"fullRefundAppNotInstalled", cases::appNotInstalled> {};
  struct FullRefundInProgress
      : cases::Plain<"fullRefundInProgress", "A full refund request is already in progress."> {};
  struct InvalidCallback : cases::Plain<"invalidCallback", "The full refund callback could not be parsed."> {
  };
  struct MissingStatus : cases::Plain<"missingStatus", "Full refund callback is missing a status."> {};

  using Variant = std::variant<InvalidRequest, RequestIdMismatch, FullRefundFailed, FullRefundAppNotInstalled,
                               FullRefundInProgress, InvalidCallback, MissingStatus>;
};

/// Why a full refund failed: one of the cases above.
class FullRefundError : public cases::ErrorUnion<FullRefundErrorCases> {
 public:
  using ErrorUnion::ErrorUnion;
};

/// How a full refund ended: `Success` with the `response` of the callback, or `Failure` with an `error`
/// and, if the items of a callback could be read, its `response`.
class FullRefundResult : public cases::ResultUnion<FullRefundResponse, FullRefundError, cases::Success> {
 public:
  using ResultUnion::ResultUnion;
  using Success = cases::Success<FullRefundResponse>;
};

template <>
struct OperationRecords<OperationKind::fullRefund> : RecordTypes<FullRefundRequest, FullRefundResult> {};

}  // namespace tilvanego
