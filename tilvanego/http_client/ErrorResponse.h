#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/network/Failure.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

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
  /// The suspending `execute()` ended by another failure: the call was cancelled before it was sent
  /// (`CancellationError`), or a kind of builder of the host's own threw (`ExceptionFailure`).
  static constexpr int notExecuted = -3;
  /// A downloaded body couldn't be written to a file.
  static constexpr int downloadFailed = 400;
  /// The request couldn't be built, or the interceptor refused it.
  static constexpr int requestRefused = 415;

  /// Never throws: without memory for all of it, the response has the code, and an `ExceptionFailure` of
  /// that.
  [[nodiscard]] static ErrorResponse error(int code, std::optional<Data> data, URLResponsePointer response,
                                           Failure underlyingFailure) noexcept;

  [[nodiscard]] int code() const { return code_; }
  /// The body of the answer, if one came.
  [[nodiscard]] const std::optional<Data>& data() const { return payload_->data; }
  /// The answer; null if none came.
  [[nodiscard]] const URLResponsePointer& response() const { return payload_->response; }
  /// The cause: ask it for a type by `as`. What host code threw is in an `ExceptionFailure`.
  [[nodiscard]] const Failure& underlyingFailure() const { return payload_->underlyingFailure; }

  /// One line for a developer, such as "request failed with code 404: the status says no success".
  [[nodiscard]] std::string description() const { return payload_->description; }
  [[nodiscard]] const char* what() const noexcept override;

 private:
  struct Payload {
    std::optional<Data> data;
    URLResponsePointer response;
    Failure underlyingFailure;
    std::string description;
  };
  ErrorResponse(int code, std::shared_ptr<const Payload> payload)
      : code_(code), payload_(std::move(payload)) {}

  int code_;
  std::shared_ptr<const Payload> payload_;
};

}  // namespace tilvanego
