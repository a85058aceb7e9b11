#pragma once

#include <string>
#include <utility>
#include <variant>

#include <tilvanego/json/JSONError.h>
#include <tilvanego/network/Failure.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The cases of `DecodableRequestBuilderError`, reached as `DecodableRequestBuilderError::NilHTTPResponse`
/// and so on.
struct DecodableRequestBuilderErrorCases {
  /// For builders of a host's own: the library hands on the JSON failure as it is.
  struct JsonDecoding {
    JSONError failure;
    bool operator==(const JsonDecoding&) const = default;
  };
  /// For builders of a host's own.
  struct GeneralError {
    explicit GeneralError(Failure cause) : failure(std::move(cause)) {}
    Failure failure;
  };
  /// The answer has no body, and the body type has no value for that.
  struct EmptyDataResponse {
    bool operator==(const EmptyDataResponse&) const = default;
  };
  /// What answered wasn't HTTP.
  struct NilHTTPResponse {
    bool operator==(const NilHTTPResponse&) const = default;
  };
  /// The status lies outside the configuration's `successfulStatusCodeRange`.
  struct UnsuccessfulHTTPStatusCode {
    bool operator==(const UnsuccessfulHTTPStatusCode&) const = default;
  };

  using Variant = std::variant<JsonDecoding, GeneralError, EmptyDataResponse, NilHTTPResponse,
                               UnsuccessfulHTTPStatusCode>;
};

/// Why an answer gave no body: one of the cases above.
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
  // One constructor for each case: a variant's own would ask whether this type makes a `Failure`, and that
  // asks whether this type can be made.
  DecodableRequestBuilderError(JsonDecoding one) : value_(std::move(one)) {}
  DecodableRequestBuilderError(GeneralError one) : value_(std::move(one)) {}
  DecodableRequestBuilderError(EmptyDataResponse one) : value_(one) {}
  DecodableRequestBuilderError(NilHTTPResponse one) : value_(one) {}
  DecodableRequestBuilderError(UnsuccessfulHTTPStatusCode one) : value_(one) {}

  [[nodiscard]] const Variant& value() const { return value_; }
  template <typename Case>
  [[nodiscard]] bool is() const {
    return std::holds_alternative<Case>(value_);
  }

  /// One line for a developer; shows no body.
  [[nodiscard]] std::string description() const;

 private:
  Variant value_;
};

}  // namespace tilvanego
