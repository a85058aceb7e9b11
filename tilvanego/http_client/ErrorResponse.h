#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/network/Failure.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Why a request failed: the error that completions get and that an awaited `execute()` throws.
///
/// The code is the HTTP status of the response, or one of the codes below. Copies share their content, and
/// copying never throws. Neither `what()` nor `description()` shows a body, a URL or a header.
class ErrorResponse final : public std::exception {
 public:
  /// The session reported a failure, such as no connection, a cancellation or a timeout.
  static constexpr int transportFailed = -1;
  /// The session returned no response, or one that isn't an `HTTPURLResponse`.
  static constexpr int noHTTPResponse = -2;
  /// An awaited `execute()` ended without a response: it was cancelled before the request was sent
  /// (`CancellationError`), or a builder class of the host threw (`ExceptionFailure`).
  static constexpr int notExecuted = -3;
  /// A downloaded body couldn't be written to a file.
  static constexpr int downloadFailed = 400;
  /// The request couldn't be built, or the interceptor refused it.
  static constexpr int requestRefused = 415;

  /// Creates an error. Never throws: if memory is short, the result has this code and an `ExceptionFailure`
  /// with the `std::bad_alloc`.
  [[nodiscard]] static ErrorResponse error(int code, std::optional<Data> data, URLResponsePointer response,
                                           Failure underlyingFailure) noexcept;

  [[nodiscard]] int code() const { return code_; }
  /// The body of the response, if there was one.
  [[nodiscard]] const std::optional<Data>& data() const TILVANEGO_LIFETIMEBOUND { return payload_->data; }
  /// The response; null if there was none.
  [[nodiscard]] const URLResponsePointer& response() const TILVANEGO_LIFETIMEBOUND {
    return payload_->response;
  }
  /// The cause; `as` returns it by its type. An exception of a callback is inside an `ExceptionFailure`.
  [[nodiscard]] const Failure& underlyingFailure() const TILVANEGO_LIFETIMEBOUND {
    return payload_->underlyingFailure;
  }

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
