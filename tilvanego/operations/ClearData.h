#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/frame/RequestRecord.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `ClearDataRequest`.
struct ClearDataRequestFields {
  /// The host's own id for this request. A callback with another id fails with `requestIdMismatch`; a
  /// callback without an id is accepted. The id is trimmed.
  std::string requestId;
  /// The URL that the payment application opens when it is done. Its scheme must be one that the system
  /// passes to the host.
  URL callbackURL;
  /// In the currency's main unit. Must be greater than zero if present.
  std::optional<Decimal> amount = std::nullopt;
  /// Sent to the payment application, which defines its unit. Must be greater than zero if present.
  std::optional<std::int64_t> timeout = std::nullopt;

  static constexpr std::size_t fieldCount = 4;
  bool operator==(const ClearDataRequestFields&) const = default;
};

/// A request for a card's clear data. An immutable value. It is checked when it is started, not when it is
/// constructed.
class ClearDataRequest : public RequestRecord<OperationKind::clearData, ClearDataRequestFields> {
 public:
  /// Stores the fields unchanged, except that the id is trimmed.
  explicit ClearDataRequest(Fields fields);

  [[nodiscard]] const std::string& requestId() const { return fields_.requestId; }
  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
  [[nodiscard]] const std::optional<Decimal>& amount() const { return fields_.amount; }
  [[nodiscard]] std::optional<std::int64_t> timeout() const { return fields_.timeout; }
};

/// The fields of a `ClearDataResponse`.
struct ClearDataResponseFields {
  /// The URL that was read.
  URL callbackURL;
  std::optional<std::string> requestId = std::nullopt;
  std::optional<std::string> status = std::nullopt;
  std::optional<std::string> clearPan = std::nullopt;
  std::optional<std::string> clearTrack2 = std::nullopt;
  std::optional<std::string> errorCode = std::nullopt;
  std::optional<std::string> errorMessage = std::nullopt;

  static constexpr std::size_t fieldCount = 7;
  bool operator==(const ClearDataResponseFields&) const = default;
};

/// The items of a clear-data callback, percent-decoded but not trimmed. An immutable value.
///
/// It holds card data in clear: in `clearPan`, `clearTrack2` and `callbackURL`. No log line, debug line or
/// error of the library shows them. A host must not log the URL.
class ClearDataResponse : public ResponseRecord<ClearDataResponseFields> {
 public:
  using ResponseRecord::ResponseRecord;

  [[nodiscard]] const std::optional<std::string>& clearPan() const { return fields_.clearPan; }
  [[nodiscard]] const std::optional<std::string>& clearTrack2() const { return fields_.clearTrack2; }
};

/// The cases of `ClearDataError`, reached as `ClearDataError::InvalidRequest` and so on.
struct ClearDataErrorCases {
  using InvalidRequest = cases::InvalidRequest;
  struct RequestIdMismatch : cases::RequestIdMismatch<"Clear data"> {};
  struct ClearDataFailed : cases::FailedWithCode<"clearDataFailed", "Clear data"> {};
  struct ClearDataAppNotInstalled : cases::Plain<"clearDataAppNotInstalled", cases::appNotInstalled> {};
  struct ClearDataInProgress
      : cases::Plain<"clearDataInProgress", "A clear data request is already in progress."> {};
  struct InvalidCallback : cases::Plain<"invalidCallback", "The clear data callback could not be parsed."> {};
  struct MissingStatus : cases::Plain<"missingStatus", "Clear data callback is missing a status."> {};

  using Variant = std::variant<InvalidRequest, RequestIdMismatch, ClearDataFailed, ClearDataAppNotInstalled,
                               ClearDataInProgress, InvalidCallback, MissingStatus>;
};

/// Why clear data failed: one of the cases above.
class ClearDataError : public cases::ErrorUnion<ClearDataErrorCases> {
 public:
  using ErrorUnion::ErrorUnion;
};

/// How clear data ended: `Success`, `Masked` (the card was read, its data is not in clear) or `Cancelled`,
/// each with the `response` of the callback, or `Failure` with an `error` and, if the items of a callback
/// could be read, its `response`. Only the status decides which one, not the card data in the callback.
class ClearDataResult : public cases::ResultUnion<ClearDataResponse, ClearDataError, cases::Success,
                                                  cases::Masked, cases::Cancelled> {
 public:
  using ResultUnion::ResultUnion;
  using Success = cases::Success<ClearDataResponse>;
  using Masked = cases::Masked<ClearDataResponse>;
  using Cancelled = cases::Cancelled<ClearDataResponse>;
};

template <>
struct OperationRecords<OperationKind::clearData> : RecordTypes<ClearDataRequest, ClearDataResult> {};

}  // namespace tilvanego
