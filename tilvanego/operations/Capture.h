#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <variant>

#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/frame/RequestRecord.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `CaptureRequest`.
struct CaptureRequestFields {
  /// The host's own id for this request. A callback with another id fails with `requestIdMismatch`; a
  /// callback without an id is accepted. The id is trimmed.
  std::string requestId;
  /// The authorization to capture. Stored trimmed.
  std::string transactionId;
  /// In the currency's main unit, with a "." before the fraction, as in "12.50". Must begin with a number
  /// greater than zero. The constructor trims it. It is sent with its trailing zeros.
  std::string amount;
  /// The URL that the payment application opens when it is done. Its scheme must be one that the system
  /// passes to the host.
  URL callbackURL;

  static constexpr std::size_t fieldCount = 4;
  bool operator==(const CaptureRequestFields&) const = default;
};

/// A request to settle an earlier authorization. An immutable value. It is checked when it is started, not
/// when it is constructed.
class CaptureRequest : public RequestRecord<OperationKind::capture, CaptureRequestFields> {
 public:
  /// Stores the URL unchanged and the texts trimmed.
  explicit CaptureRequest(Fields fields);

  [[nodiscard]] const std::string& requestId() const { return fields_.requestId; }
  [[nodiscard]] const std::string& transactionId() const { return fields_.transactionId; }
  [[nodiscard]] const std::string& amount() const { return fields_.amount; }
  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
};

/// The fields of a `CaptureResponse`.
struct CaptureResponseFields {
  /// The URL that was read.
  URL callbackURL;
  std::optional<std::string> requestId = std::nullopt;
  std::optional<std::string> status = std::nullopt;
  std::optional<std::string> type = std::nullopt;
  std::optional<std::string> transactionId = std::nullopt;
  std::optional<std::string> approvedAmount = std::nullopt;
  std::optional<std::string> originalTransactionId = std::nullopt;
  std::optional<std::string> errorCode = std::nullopt;
  std::optional<std::string> errorMessage = std::nullopt;

  static constexpr std::size_t fieldCount = 9;
  bool operator==(const CaptureResponseFields&) const = default;
};

/// The items of a capture's callback, percent-decoded but not trimmed. An immutable value.
class CaptureResponse : public ResponseRecord<CaptureResponseFields> {
 public:
  using ResponseRecord::ResponseRecord;

  [[nodiscard]] const std::optional<std::string>& type() const { return fields_.type; }
  [[nodiscard]] const std::optional<std::string>& transactionId() const { return fields_.transactionId; }
  [[nodiscard]] const std::optional<std::string>& approvedAmount() const { return fields_.approvedAmount; }
  [[nodiscard]] const std::optional<std::string>& originalTransactionId() const {
    return fields_.originalTransactionId;
  }
};

/// The cases of `CaptureError`, reached as `CaptureError::InvalidRequest` and so on.
struct CaptureErrorCases {
  using InvalidRequest = cases::InvalidRequest;
  struct RequestIdMismatch : cases::RequestIdMismatch<"Capture"> {};
  struct CaptureFailed : cases::FailedWithCode<"captureFailed", "Capture"> {};
  struct CaptureAppNotInstalled : cases::Plain<"captureAppNotInstalled", cases::appNotInstalled> {};
  struct CaptureInProgress : cases::Plain<"captureInProgress", "A capture request is already in progress."> {
  };
  struct InvalidCallback : cases::Plain<"invalidCallback", "The capture callback could not be parsed."> {};
  struct MissingStatus : cases::Plain<"missingStatus", "Capture callback is missing a status."> {};

  using Variant = std::variant<InvalidRequest, RequestIdMismatch, CaptureFailed, CaptureAppNotInstalled,
                               CaptureInProgress, InvalidCallback, MissingStatus>;
};

/// Why a capture failed: one of the cases above.
class CaptureError : public cases::ErrorUnion<CaptureErrorCases> {
 public:
  using ErrorUnion::ErrorUnion;
};

/// How a capture ended: `Success` with the `response` of the callback, or `Failure` with an `error` and, if
/// the items of a callback could be read, its `response`.
class CaptureResult : public cases::ResultUnion<CaptureResponse, CaptureError, cases::Success> {
 public:
  using ResultUnion::ResultUnion;
  using Success = cases::Success<CaptureResponse>;
};

template <>
struct OperationRecords<OperationKind::capture> : RecordTypes<CaptureRequest, CaptureResult> {};

}  // namespace tilvanego
