#pragma once

#include <any>
#include <concepts>
#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include <tilvanego/http_client/RequestBuilder.h>
#include <tilvanego/http_client/RequestBuilderFactory.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/values/Lifetime.h>

namespace tilvanego::detail {

inline void requireCompletion(bool isThere) {
  if (!isThere) wrongUse("execute was given an empty completion; give [](const auto&) {} to hear nothing");
}

template <typename T>
std::expected<Response<T>, ErrorResponse> withTypedBody(AnyResponse&& response) {
  T* body = std::any_cast<T>(&response.body);
  // A builder class of the host made a body of another type.
  if (body == nullptr) fatalError("Unsupported Response Body Type - " + bodyTypeOf<T>().name);
  return std::expected<Response<T>, ErrorResponse>(std::in_place, std::move(response), std::move(*body));
}

/// An exception while the body is moved, such as `std::bad_alloc`, is a failure.
template <typename T>
std::expected<Response<T>, ErrorResponse> typedResult(RequestBuilder::Result&& result) {
  if (!result) return std::unexpected(std::move(result.error()));
  if constexpr (std::is_nothrow_move_constructible_v<T>) {
    return withTypedBody<T>(*std::move(result));
  } else {
    const int status = result->statusCode;
    const std::optional<Data> bytes = result->bodyData;
    try {
      return withTypedBody<T>(*std::move(result));
    } catch (...) {
      return std::unexpected(ErrorResponse::error(status, bytes, nullptr, currentFailure()));
    }
  }
}

template <typename T>
Task<Response<T>> typedTask(Task<AnyResponse> sending) {
  AnyResponse response = co_await std::move(sending);
  auto result = typedResult<T>(std::move(response));
  if (!result) throw result.error();
  co_return *std::move(result);
}

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// A request builder whose response has a body of type T. T is `std::string` (the body as text), `Data` or
/// `Bytes`, `URL` (of a file to which the body is written), `Empty`, or a type that can be read from JSON: a
/// record, a `std::vector`, a `std::map`, a `JSONValue`, or a `std::optional` of these if the response may
/// have no body.
///
/// ```cpp
/// #include <tilvanego/json/JSONValue.h>
///
/// void fetchTerminal(std::function<void(JSONValue)> show) {
///   makeRequestBuilder<JSONValue>({.method = "GET", .URLString = "https://terminal.example/terminals/4711"})
///       .addHeader("Accept-Language", "de")
///       .execute([show](RequestBuilderOf<JSONValue>::Result result) {
///         if (result) show(result->body);
///       });
/// }
/// ```
///
/// Copies share one builder. `->` accesses the operations of `RequestBuilder`.
template <std::copy_constructible T>
class RequestBuilderOf {
 public:
  using Result = std::expected<Response<T>, ErrorResponse>;
  /// May throw, as `RequestBuilder::Completion` says.
  using Completion = std::function<void(Result)>;

  /// `builder` must not be null, and must have been created with `bodyTypeOf<T>()`.
  explicit RequestBuilderOf(std::shared_ptr<RequestBuilder> builder) : builder_(std::move(builder)) {}

  RequestBuilder* operator->() const { return builder_.get(); }
  RequestBuilder& operator*() const { return *builder_; }
  [[nodiscard]] const std::shared_ptr<RequestBuilder>& pointer() const TILVANEGO_LIFETIMEBOUND {
    return builder_;
  }

  /// Sets a header field. Does nothing if `value` is empty.
  RequestBuilderOf& addHeader(const std::string& name, const std::string& value) {
    builder_->addHeader(name, value);
    return *this;
  }

  /// Sends the request and returns the handle that cancels it. The completion runs once: on the session's
  /// thread for a success and for a response without a usable body, on the configuration's
  /// `apiResponseQueue` for any other failure. An empty completion ends the process; use `[](const auto&) {}`
  /// to ignore the result.
  std::shared_ptr<RequestTask> execute(Completion completion) const {
    detail::requireCompletion(completion != nullptr);
    return builder_->execute([completion = std::move(completion)](RequestBuilder::Result result) {
      completion(detail::typedResult<T>(std::move(result)));
    });
  }
  void execute(std::nullptr_t) const = delete;

  /// Sends the request on this thread, and returns the response or why there is none.
  ///
  /// ```cpp
  /// std::string batteryOf(const std::string& terminal) {
  ///   const auto result = makeRequestBuilder<std::string>({.method = "GET", .URLString = terminal +
  ///   "/battery"}).send(); return result ? result->body : result.error().what();
  /// }
  /// ```
  ///
  /// Takes no part of the `apiResponseQueue`, so it may be called on the main thread, which it blocks.
  /// `RequestBuilder::send` has the rules.
  [[nodiscard]] Result send(StopToken stopToken = {}) const {
    return detail::typedResult<T>(builder_->send(std::move(stopToken)));
  }

  /// Sends the request when the task is awaited. Returns the response or throws an `ErrorResponse`, and
  /// nothing else. Resumes the coroutine on the thread on which a completion would run.
  [[nodiscard]] Task<Response<T>> execute(StopToken stopToken = {}) const {
    return detail::typedTask<T>(builder_->execute(std::move(stopToken)));
  }

 private:
  std::shared_ptr<RequestBuilder> builder_;
};

/// Creates a builder of the class that the configuration's factory chooses for T. Sends nothing.
template <std::copy_constructible T>
[[nodiscard]] RequestBuilderOf<T> makeRequestBuilder(RequestBuilderArguments&& arguments) {
  const BodyType& bodyType = bodyTypeOf<T>();
  const auto factory = arguments.apiConfiguration->requestBuilderFactory();
  const bool decodable =
      bodyType.kind != BodyKind::empty && (bodyType.kind != BodyKind::other || bodyType.decode);
  const RequestBuilderKind kind =
      decodable ? factory->getBuilder(bodyType) : factory->getNonDecodableBuilder(bodyType);
  return RequestBuilderOf<T>(kind(bodyType, std::move(arguments)));
}
/// The same with a copy of the arguments.
template <std::copy_constructible T>
[[nodiscard]] RequestBuilderOf<T> makeRequestBuilder(const RequestBuilderArguments& arguments) {
  return makeRequestBuilder<T>(RequestBuilderArguments(arguments));
}

}  // namespace tilvanego
