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

/// The fields of a `InitializationRequest`.
struct InitializationRequestFields {
  /// The host's own id for this request. A callback with another id fails with `requestIdMismatch`; a
  /// callback without an id is accepted. The id is sent untrimmed.
  std::string requestId;
  /// The URL that the payment application opens when it is done. Its scheme must be one that the system
  /// passes to the host.
  URL callbackURL;
  /// The name of the host, sent unchanged.
  std::string sourceApplication;
  /// A secret: no log line, debug line or description shows it, and the destructor of each request wipes it.
  std::optional<std::string> basicToken = std::nullopt;
  std::optional<std::string> accountId = std::nullopt;
  /// Must be "STAGING", "CERT" or "PROD". The constructor trims it and converts it to capitals.
  std::optional<std::string> environment = std::nullopt;
  std::optional<std::string> basePath = std::nullopt;

  static constexpr std::size_t fieldCount = 7;
  bool operator==(const InitializationRequestFields&) const = default;
};

/// A request to prepare the payment application for this host. An immutable value. It is checked when it is
/// started, not when it is constructed.
class InitializationRequest
    : public RequestRecord<OperationKind::initialization, InitializationRequestFields> {
 public:
  /// Stores the fields unchanged, except that the environment is trimmed and converted to capitals.
  explicit InitializationRequest(Fields fields);

  InitializationRequest(const InitializationRequest&) = default;
  InitializationRequest(InitializationRequest&&) noexcept = default;
  InitializationRequest& operator=(InitializationRequest other) noexcept;
  ~InitializationRequest();

  [[nodiscard]] const std::string& requestId() const { return fields_.requestId; }
  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
  [[nodiscard]] const std::string& sourceApplication() const { return fields_.sourceApplication; }
  [[nodiscard]] const std::optional<std::string>& basicToken() const { return fields_.basicToken; }
  [[nodiscard]] const std::optional<std::string>& accountId() const { return fields_.accountId; }
  [[nodiscard]] const std::optional<std::string>& environment() const { return fields_.environment; }
  [[nodiscard]] const std::optional<std::string>& basePath() const { return fields_.basePath; }
};

/// The fields of a `InitializationResponse`.
struct InitializationResponseFields {
  /// The URL that was read.
  URL callbackURL;
  std::optional<std::string> requestId = std::nullopt;
  std::optional<std::string> status = std::nullopt;
  std::optional<std::string> message = std::nullopt;

  static constexpr std::size_t fieldCount = 4;
  bool operator==(const InitializationResponseFields&) const = default;
};

/// The items of an initialization's callback, percent-decoded but not trimmed. An immutable value.
class InitializationResponse : public ResponseRecord<InitializationResponseFields> {
 public:
  using ResponseRecord::ResponseRecord;

  [[nodiscard]] const std::optional<std::string>& message() const { return fields_.message; }
};

/// The cases of `InitializationError`, reached as `InitializationError::InvalidRequest` and so on.
struct InitializationErrorCases {
  using InvalidRequest = cases::InvalidRequest;
  struct RequestIdMismatch : cases::RequestIdMismatch<"Initialization"> {};
  struct InitializationFailed : cases::FailedWithStatus<"initializationFailed", "Initialization"> {};
  struct InitializationAppNotInstalled
      : cases::Plain<"initializationAppNotInstalled", cases::appNotInstalled> {};
  struct InitializationInProgress
      : cases::Plain<"initializationInProgress", "An initialization is already in progress."> {};
  struct InvalidCallback
      : cases::Plain<"invalidCallback", "The initialization callback could not be parsed."> {};
  struct MissingStatus : cases::Plain<"missingStatus", "Initialization callback is missing a status."> {};

  using Variant =
      std::variant<InvalidRequest, RequestIdMismatch, InitializationFailed, InitializationAppNotInstalled,
                   InitializationInProgress, InvalidCallback, MissingStatus>;
};

/// Why an initialization failed: one of the cases above.
class InitializationError : public cases::ErrorUnion<InitializationErrorCases> {
 public:
  using ErrorUnion::ErrorUnion;
};

/// How an initialization ended: `Initialized` with the `response` of the callback, or `Failure` with an
/// `error` and, if the items of a callback could be read, its `response`.
class InitializationResult
    : public cases::ResultUnion<InitializationResponse, InitializationError, cases::Initialized> {
 public:
  using ResultUnion::ResultUnion;
  using Initialized = cases::Initialized<InitializationResponse>;
};

template <>
struct OperationRecords<OperationKind::initialization>
    : RecordTypes<InitializationRequest, InitializationResult> {};

}  // namespace tilvanego
