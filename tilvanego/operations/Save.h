#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <variant>

#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/frame/RequestRecord.h>
#include <tilvanego/payment/PaymentCredentials.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `SaveRequest`.
struct SaveRequestFields {
  /// The host's own id for this request. A callback with another id fails with `requestIdMismatch`; a
  /// callback without an id is accepted. The id is trimmed.
  std::string requestId;
  /// The URL that the payment application opens when it is done. Its scheme must be one that the system
  /// passes to the host.
  URL callbackURL;
  /// The three-letter code of ISO 4217. The constructor trims it and converts it to capitals.
  std::string currency;
  /// The merchant's own reference.
  std::optional<std::string> customId = std::nullopt;
  std::optional<std::string> notes = std::nullopt;
  std::optional<PaymentCredentials> credentials = std::nullopt;

  static constexpr std::size_t fieldCount = 6;
  bool operator==(const SaveRequestFields&) const = default;
};

/// A request to store a card in the payment application. An immutable value. It is checked when it is
/// started, not when it is constructed.
class SaveRequest : public RequestRecord<OperationKind::save, SaveRequestFields> {
 public:
  /// Stores the fields unchanged, except that the id is trimmed, and the currency is trimmed and converted to
  /// capitals.
  explicit SaveRequest(Fields fields);

  [[nodiscard]] const std::string& requestId() const { return fields_.requestId; }
  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
  [[nodiscard]] const std::string& currency() const { return fields_.currency; }
  [[nodiscard]] const std::optional<std::string>& customId() const { return fields_.customId; }
  [[nodiscard]] const std::optional<std::string>& notes() const { return fields_.notes; }
  [[nodiscard]] const std::optional<PaymentCredentials>& credentials() const { return fields_.credentials; }
};

/// The fields of a `SaveResponse`.
struct SaveResponseFields {
  /// The URL that was read.
  URL callbackURL;
  std::optional<std::string> requestId = std::nullopt;
  std::optional<std::string> status = std::nullopt;
  std::optional<std::string> transactionId = std::nullopt;
  std::optional<std::string> approvalCode = std::nullopt;
  /// Also from an item named "message".
  std::optional<std::string> processorMessage = std::nullopt;
  std::optional<std::string> entryMode = std::nullopt;
  std::optional<std::string> cardBrand = std::nullopt;
  std::optional<std::string> cardLast4 = std::nullopt;
  std::optional<std::string> errorCode = std::nullopt;
  std::optional<std::string> errorMessage = std::nullopt;

  static constexpr std::size_t fieldCount = 11;
  bool operator==(const SaveResponseFields&) const = default;
};

/// The items of a save's callback, percent-decoded but not trimmed. An immutable value.
class SaveResponse : public ResponseRecord<SaveResponseFields> {
 public:
  using ResponseRecord::ResponseRecord;

  [[nodiscard]] const std::optional<std::string>& transactionId() const { return fields_.transactionId; }
  [[nodiscard]] const std::optional<std::string>& approvalCode() const { return fields_.approvalCode; }
  [[nodiscard]] const std::optional<std::string>& processorMessage() const {
    return fields_.processorMessage;
  }
  [[nodiscard]] const std::optional<std::string>& entryMode() const { return fields_.entryMode; }
  [[nodiscard]] const std::optional<std::string>& cardBrand() const { return fields_.cardBrand; }
  [[nodiscard]] const std::optional<std::string>& cardLast4() const { return fields_.cardLast4; }
};

/// The cases of `SaveError`, reached as `SaveError::InvalidRequest` and so on.
struct SaveErrorCases {
  using InvalidRequest = cases::InvalidRequest;
  struct RequestIdMismatch : cases::RequestIdMismatch<"Save"> {};
  struct SaveFailed : cases::FailedWithCode<"saveFailed", "Save"> {};
  struct SaveAppNotInstalled : cases::Plain<"saveAppNotInstalled", cases::appNotInstalled> {};
  struct SaveInProgress : cases::Plain<"saveInProgress", "A save request is already in progress."> {};
  struct InvalidCallback : cases::Plain<"invalidCallback", "The save callback could not be parsed."> {};
  struct MissingStatus : cases::Plain<"missingStatus", "Save callback is missing a status."> {};

  using Variant = std::variant<InvalidRequest, RequestIdMismatch, SaveFailed, SaveAppNotInstalled,
                               SaveInProgress, InvalidCallback, MissingStatus>;
};

/// Why a save failed: one of the cases above.
class SaveError : public cases::ErrorUnion<SaveErrorCases> {
 public:
  using ErrorUnion::ErrorUnion;
};

/// How a save ended: `Success`, `Cancelled` or `Declined`, each with the `response` of the callback, or
/// `Failure` with an `error` and, if the items of a callback could be read, its `response`.
class SaveResult
    : public cases::ResultUnion<SaveResponse, SaveError, cases::Success, cases::Cancelled, cases::Declined> {
 public:
  using ResultUnion::ResultUnion;
  using Success = cases::Success<SaveResponse>;
  using Cancelled = cases::Cancelled<SaveResponse>;
  using Declined = cases::Declined<SaveResponse>;
};

template <>
struct OperationRecords<OperationKind::save> : RecordTypes<SaveRequest, SaveResult> {};

}  // namespace tilvanego
