#pragma once

#include <string>
#include <utility>
#include <variant>

#include <tilvanego/json/JSONError.h>
#include <tilvanego/network/Failure.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The cases of `DecodableRequestBuilderError`, reached as `DecodableRequestBuilderError::NilHTTPResponse`
/// and so on.
struct DecodableRequestBuilderErrorCases {
  /// For builder classes of the host. The library's own builders pass on the `JSONError` itself.
  struct JsonDecoding {
    JSONError failure;
    bool operator==(const JsonDecoding&) const = default;
  };
  /// For builder classes of the host.
  struct GeneralError {
    explicit GeneralError(Failure cause) : failure(std::move(cause)) {}
    Failure failure;
  };
  /// The response has no body, and the body type has no value for that.
  struct EmptyDataResponse {
    bool operator==(const EmptyDataResponse&) const = default;
  };
  /// The response isn't an `HTTPURLResponse`.
  struct NilHTTPResponse {
    bool operator==(const NilHTTPResponse&) const = default;
  };
  /// The status is outside the configuration's `successfulStatusCodeRange`.
  struct UnsuccessfulHTTPStatusCode {
    bool operator==(const UnsuccessfulHTTPStatusCode&) const = default;
  };

  using Variant = std::variant<JsonDecoding, GeneralError, EmptyDataResponse, NilHTTPResponse,
                               UnsuccessfulHTTPStatusCode>;
};

/// Why a response has no usable body: one of the cases above.
///
/// ```cpp
/// #include <tilvanego/http_client/ErrorResponse.h>
///
/// bool isBodyMissing(const ErrorResponse& error) {
///   const auto* why = error.underlyingFailure().as<DecodableRequestBuilderError>();
///   return why != nullptr && why->is<DecodableRequestBuilderError::EmptyDataResponse>();
/// }
/// ```
class DecodableRequestBuilderError : public DecodableRequestBuilderErrorCases {
 public:
  // One constructor for each case: with a constructor template, the check whether a `Failure` can hold this
  // type would depend on itself.
  DecodableRequestBuilderError(JsonDecoding one) : value_(std::move(one)) {}
  DecodableRequestBuilderError(GeneralError one) : value_(std::move(one)) {}
  DecodableRequestBuilderError(EmptyDataResponse one) : value_(one) {}
  DecodableRequestBuilderError(NilHTTPResponse one) : value_(one) {}
  DecodableRequestBuilderError(UnsuccessfulHTTPStatusCode one) : value_(one) {}

  [[nodiscard]] const Variant& value() const TILVANEGO_LIFETIMEBOUND { return value_; }
  template <typename Case>
  [[nodiscard]] bool is() const {
    return std::holds_alternative<Case>(value_);
  }

  /// One line for a developer. Shows no body.
  [[nodiscard]] std::string description() const;

 private:
  Variant value_;
};

}  // namespace tilvanego
