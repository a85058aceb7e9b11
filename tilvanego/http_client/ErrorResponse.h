#pragma once

#include <tilvanego/http_client/Failure.h>
#include <tilvanego/http_client/URLResponse.h>
#include <tilvanego/values/Data.h>

#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace tilvanego {

/// Why a request failed: what completions get and what the suspending `execute()` throws.
///
/// The code is the HTTP status of an answer that wasn't taken, or one of the codes below. Copies share what
/// they hold, and copying never throws. Neither `what()` nor `description()` shows a body, a URL or a header.
class ErrorResponse final : public std::exception {
 public:
  /// The session reported a failure: no connection, a cancel, a time-out.
  static constexpr int transportFailed = -1;
  /// The session answered with something else than an HTTP response.
  static constexpr int noHTTPResponse = -2;
  /// The suspending `execute()` ended by another failure: the call was cancelled before it was sent.
  static constexpr int notExecuted = -3;
  /// A downloaded body couldn't be written to a file.
  static constexpr int downloadFailed = 400;
  /// The request couldn't be built, or the interceptor refused it.
  static constexpr int requestRefused = 415;

  [[nodiscard]] static ErrorResponse error(int code, std::optional<Data> data, URLResponsePointer response,
                                           Failure underlyingFailure);

  [[nodiscard]] int code() const { return payload_->code; }
  /// The body of the answer, if one came.
  [[nodiscard]] const std::optional<Data>& data() const { return payload_->data; }
  /// The answer; null if none came.
  [[nodiscard]] const URLResponsePointer& response() const { return payload_->response; }
  [[nodiscard]] const Failure& underlyingFailure() const { return payload_->underlyingFailure; }

  /// One line for a developer, such as "request failed with code 404: the status says no success".
  [[nodiscard]] std::string description() const { return payload_->description; }
  [[nodiscard]] const char* what() const noexcept override;

 private:
  struct Payload {
    int code;
    std::optional<Data> data;
    URLResponsePointer response;
    Failure underlyingFailure;
    std::string description;
  };
  explicit ErrorResponse(std::shared_ptr<const Payload> payload) : payload_(std::move(payload)) {}

  std::shared_ptr<const Payload> payload_;
};

}  // namespace tilvanego
