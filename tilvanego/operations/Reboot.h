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
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `RebootRequest`.
struct RebootRequestFields {
  /// The host's own id for this request. A callback with another id fails with `requestIdMismatch`; a
  /// callback without an id is accepted. The id is trimmed.
  std::string requestId;
  /// The URL that the payment application opens when it is done. Its scheme must be one that the system
  /// passes to the host.
  URL callbackURL;

  static constexpr std::size_t fieldCount = 2;
  bool operator==(const RebootRequestFields&) const = default;
};

/// A request to restart the card reader. An immutable value. It is checked when it is started, not when it is
/// constructed.
class RebootRequest : public RequestRecord<OperationKind::reboot, RebootRequestFields> {
 public:
  /// Stores the URL unchanged and the id trimmed.
  explicit RebootRequest(Fields fields);

  [[nodiscard]] const std::string& requestId() const { return fields_.requestId; }
  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
};

/// The fields of a `RebootResponse`.
struct RebootResponseFields {
  /// The URL that was read.
  URL callbackURL;
  std::optional<std::string> requestId = std::nullopt;
  std::optional<std::string> status = std::nullopt;
  /// Also absent if the item in the callback isn't an integer of 64 bits.
  std::optional<std::int64_t> responseCode = std::nullopt;
  std::optional<std::string> readerSerial = std::nullopt;
  std::optional<std::string> errorCode = std::nullopt;
  std::optional<std::string> errorMessage = std::nullopt;

  static constexpr std::size_t fieldCount = 7;
  bool operator==(const RebootResponseFields&) const = default;
};

/// The items of a reboot's callback, percent-decoded but not trimmed; `responseCode` is read as a number. An
/// immutable value.
class RebootResponse : public ResponseRecord<RebootResponseFields> {
 public:
  using ResponseRecord::ResponseRecord;

  [[nodiscard]] std::optional<std::int64_t> responseCode() const { return fields_.responseCode; }
  [[nodiscard]] const std::optional<std::string>& readerSerial() const { return fields_.readerSerial; }
};

/// The cases of `RebootError`, reached as `RebootError::InvalidRequest` and so on.
struct RebootErrorCases {
  using InvalidRequest = cases::InvalidRequest;
  struct RequestIdMismatch : cases::RequestIdMismatch<"Reboot"> {};
  struct RebootFailed : cases::FailedWithCode<"rebootFailed", "Reboot"> {};
  struct RebootAppNotInstalled : cases::Plain<"rebootAppNotInstalled", cases::appNotInstalled> {};
  struct RebootInProgress : cases::Plain<"rebootInProgress", "A reboot request is already in progress."> {};
  struct InvalidCallback : cases::Plain<"invalidCallback", "The reboot callback could not be parsed."> {};
  struct MissingStatus : cases::Plain<"missingStatus", "Reboot callback is missing a status."> {};

  using Variant = std::variant<InvalidRequest, RequestIdMismatch, RebootFailed, RebootAppNotInstalled,
                               RebootInProgress, InvalidCallback, MissingStatus>;
};

/// Why a reboot failed: one of the cases above.
class RebootError : public cases::ErrorUnion<RebootErrorCases> {
 public:
  using ErrorUnion::ErrorUnion;
};

/// How a reboot ended: `Success` with the `response` of the callback, or `Failure` with an `error` and, if
/// the items of a callback could be read, its `response`. Only the status decides which one, not the response
/// code.
class RebootResult : public cases::ResultUnion<RebootResponse, RebootError, cases::Success> {
 public:
  using ResultUnion::ResultUnion;
  using Success = cases::Success<RebootResponse>;
};

template <>
struct OperationRecords<OperationKind::reboot> : RecordTypes<RebootRequest, RebootResult> {};

}  // namespace tilvanego
