#pragma once

#include <tilvanego/http_client/FatalError.h>
#include <tilvanego/http_client/RequestBuilder.h>
#include <tilvanego/http_client/RequestBuilderFactory.h>

#include <any>
#include <concepts>
#include <expected>
#include <functional>
#include <memory>
#include <utility>

namespace tilvanego {

namespace detail {

template <typename T>
Response<T> typedResponse(AnyResponse response) {
  T* body = std::any_cast<T>(&response.body);
  // A kind of a host's own made another body than the one that it was made for.
  if (body == nullptr) fatalError("Unsupported Response Body Type - " + bodyTypeOf<T>().name);
  return {response.statusCode, std::move(response.header), std::move(*body), std::move(response.bodyData)};
}

template <typename T>
Task<Response<T>> typedTask(Task<AnyResponse> sending) {
  AnyResponse response = co_await std::move(sending);
  co_return typedResponse<T>(std::move(response));
}

}  // namespace detail

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
  /// answer that gave no body, and on the configuration's `apiResponseQueue` for any other failure.
  std::shared_ptr<RequestTask> execute(Completion completion) const {
    return builder_->execute(
        [completion = std::move(completion)](std::expected<AnyResponse, ErrorResponse> result) {
          if (result) {
            completion(detail::typedResponse<T>(*std::move(result)));
          } else {
            completion(std::unexpected(std::move(result.error())));
          }
        });
  }

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
