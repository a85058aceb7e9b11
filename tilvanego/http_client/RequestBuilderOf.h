#pragma once

#include <any>
#include <concepts>
#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include <tilvanego/http_client/RequestBuilder.h>
#include <tilvanego/http_client/RequestBuilderFactory.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/platform/FatalError.h>

namespace tilvanego::detail {

inline void requireCompletion(bool isThere) {
  if (!isThere) wrongUse("execute was given an empty completion; give [](const auto&) {} to hear nothing");
}

template <typename T>
Response<T> typedResponse(AnyResponse response) {
  T* body = std::any_cast<T>(&response.body);
  // A kind of a host's own made another body than the one that it was made for.
  if (body == nullptr) fatalError("Unsupported Response Body Type - " + bodyTypeOf<T>().name);
  return {response.statusCode, std::move(response.header), std::move(*body), std::move(response.bodyData)};
}

/// A body that can't be moved or copied, for lack of memory say, is a failure.
template <typename T>
std::expected<Response<T>, ErrorResponse> typedResult(RequestBuilder::Result result) {
  if (!result) return std::unexpected(std::move(result.error()));
  const int status = result->statusCode;
  const std::optional<Data> bytes = result->bodyData;
  try {
    return typedResponse<T>(*std::move(result));
  } catch (...) {
    return std::unexpected(ErrorResponse::error(status, bytes, nullptr, currentFailure()));
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
/// `Bytes`, `URL` (the body goes to a file, of which this is the URL), `Empty`, or whatever can be read from
/// JSON: a record, a list, a map, a `JSONValue`, an optional of these for an answer that may have no body.
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
/// A copy is the same builder. See `RequestBuilder`, reached by `->`, for all operations.
template <std::copy_constructible T>
class RequestBuilderOf {
 public:
  using Result = std::expected<Response<T>, ErrorResponse>;
  /// May throw, as `RequestBuilder::Completion` says.
  using Completion = std::function<void(Result)>;

  /// Takes a builder that was made for T.
  explicit RequestBuilderOf(std::shared_ptr<RequestBuilder> builder) : builder_(std::move(builder)) {}

  RequestBuilder* operator->() const { return builder_.get(); }
  RequestBuilder& operator*() const { return *builder_; }
  [[nodiscard]] const std::shared_ptr<RequestBuilder>& pointer() const { return builder_; }

  RequestBuilderOf& addHeader(const std::string& name, const std::string& value) {
    builder_->addHeader(name, value);
    return *this;
  }

  /// Sends the request. The completion runs once, later, on the session's thread for a success and for an
  /// answer that gave no body, and on the configuration's `apiResponseQueue` for any other failure. An empty
  /// one ends the process; whoever wants no answer gives `[](const auto&) {}`.
  std::shared_ptr<RequestTask> execute(Completion completion) const {
    detail::requireCompletion(completion != nullptr);
    return builder_->execute([completion = std::move(completion)](RequestBuilder::Result result) {
      completion(detail::typedResult<T>(std::move(result)));
    });
  }
  void execute(std::nullptr_t) const = delete;

  /// Sends the request when it is awaited, gives the response or throws an `ErrorResponse` alone, and resumes
  /// the coroutine on the thread on which a completion would run.
  [[nodiscard]] Task<Response<T>> execute(StopToken stopToken = {}) const {
    return detail::typedTask<T>(builder_->execute(std::move(stopToken)));
  }

 private:
  std::shared_ptr<RequestBuilder> builder_;
};

/// Describes a request, with a builder of the kind that the configuration's factory names for T.
template <std::copy_constructible T>
[[nodiscard]] RequestBuilderOf<T> makeRequestBuilder(RequestBuilderArguments arguments) {
  const BodyType& bodyType = bodyTypeOf<T>();
  const auto factory = arguments.apiConfiguration->requestBuilderFactory();
  const bool decodable =
      bodyType.kind != BodyKind::empty && (bodyType.kind != BodyKind::other || bodyType.decode);
  const RequestBuilderKind kind =
      decodable ? factory->getBuilder(bodyType) : factory->getNonDecodableBuilder(bodyType);
  return RequestBuilderOf<T>(kind(bodyType, std::move(arguments)));
}

}  // namespace tilvanego
