#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/models/Record.h>
#include <tilvanego/values/UUID.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

/// The type of an error that the interface reports.
enum class ErrorType {
  authentication,
  authorization,
  unveilxError,
  internalServerError,
  invalidRequest,
  methodNotAllowed,
  notFound,
  poiError,
  serviceUnavailable,
  veilmarkError,
  timeout,
  transactionError,
  websocketGatewayError,
  unknownDefaultOpenApi,
};

/// An error with a code and a message.
struct ModelError {
  std::int64_t code = 0;
  std::string message;

  enum class CodingKeys { code, message };

  bool operator==(const ModelError&) const = default;
};

/// One violation: its location, the value and a message.
struct ErrorDetail {
  std::optional<std::string> source = {};
  std::optional<std::string> value = {};
  std::optional<std::string> message = {};

  enum class CodingKeys { source, value, message };

  bool operator==(const ErrorDetail&) const = default;
};

/// An error with details; each detail is one violation.
struct ApiViolation {
  std::optional<std::string> message = {};
  std::optional<UUID> traceId = {};
  std::optional<ErrorType> errorType = {};
  std::optional<std::int64_t> errorCode = {};
  std::optional<std::string> value = {};
  std::optional<std::string> source = {};
  std::optional<std::vector<ErrorDetail>> details = {};

  enum class CodingKeys { message, traceId, errorType, errorCode, value, source, details };

  /// The only record with an enumeration that has no `containsUnknownDefaultOpenApiCase`.
  static constexpr bool reportsUnknownCases = false;

  bool operator==(const ApiViolation&) const = default;
};

}  // namespace models

template <>
struct RawTexts<models::ErrorType> : models::OpenRawTexts<models::ErrorType> {
  using enum models::ErrorType;
  static constexpr std::array table{
      row(authentication, "authentication"),
      row(authorization, "authorization"),
      row(unveilxError, "unveilx_error"),
      row(internalServerError, "internal_server_error"),
      row(invalidRequest, "invalid_request"),
      row(methodNotAllowed, "method_not_allowed"),
      row(notFound, "not_found"),
      row(poiError, "poi_error"),
      row(serviceUnavailable, "service_unavailable"),
      row(veilmarkError, "veilmark_error"),
      row(timeout, "timeout"),
      row(transactionError, "transaction_error"),
      row(websocketGatewayError, "websocket_gateway_error"),
      fallbackRow,
  };
};

}  // namespace tilvanego
