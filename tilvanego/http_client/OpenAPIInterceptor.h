#pragma once

#include <any>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>

#include <tilvanego/network/Failure.h>
#include <tilvanego/network/URLRequest.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/network/URLSessionProtocol.h>
#include <tilvanego/values/CaseNames.h>
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

class RequestBuilder;

/// Whether a failed request is sent again.
enum class OpenAPIInterceptorRetry : std::uint8_t { retry, dontRetry };

template <>
inline constexpr bool showsCaseNames<OpenAPIInterceptorRetry> = true;

/// Callbacks between the builders and the session: an interceptor may change, refuse, observe and retry each
/// request. All builders of a configuration share one interceptor, which is called on several threads at
/// once, without a lock held.
///
/// May throw: from `intercept` an exception refuses the request, from `retry` it means `dontRetry`. From the
/// other functions, and after `completion` was called, it is dropped after one line on standard error.
///
/// An interceptor may keep the session and the builder. The library doesn't limit retries: the interceptor
/// must limit their number and may delay them.
class OpenAPIInterceptor {
 public:
  using Session = std::shared_ptr<URLSessionProtocol>;
  using Builder = std::shared_ptr<RequestBuilder>;
  using InterceptCompletion = std::function<void(std::expected<URLRequest, Failure>)>;
  using RetryCompletion = std::function<void(OpenAPIInterceptorRetry)>;

  virtual ~OpenAPIInterceptor() = default;

  /// Called before each request is sent, on the thread that executes the builder. Must call `completion` once
  /// with the request to send in place of `urlRequest`, or with a failure to refuse it: inside this call or
  /// later, on any thread, on which the request is then sent. Further calls of `completion` are ignored.
  virtual void intercept(const URLRequest& urlRequest, const Session& urlSession,
                         const Builder& requestBuilder, InterceptCompletion completion) = 0;

  /// Called when a request has failed with `error`, on the session's thread. Must call `completion` once,
  /// inside this call or later, on any thread. For `retry` the request is built again and passed to
  /// `intercept` again.
  virtual void retry(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
                     const std::optional<Data>& data, const URLResponsePointer& response,
                     const Failure& error, RetryCompletion completion) = 0;

  /// Called before the session starts the request, on the thread that called `intercept`'s completion.
  virtual void willSendRequest(const URLRequest& /*urlRequest*/, const Session& /*urlSession*/,
                               const Builder& /*requestBuilder*/) {}

  /// Called when the session has reported a response or a failure, on the session's thread, for each try.
  virtual void didReceiveResponse(const URLRequest& /*urlRequest*/, const Session& /*urlSession*/,
                                  const Builder& /*requestBuilder*/, const std::optional<Data>& /*data*/,
                                  const URLResponsePointer& /*response*/,
                                  const std::optional<Failure>& /*error*/) {}

  /// Called once at the end, before the builder's completion. On success `result` holds a body of the
  /// builder's body type. Called on the session's thread, or on the thread that called the completion of
  /// `intercept` or `retry`.
  virtual void didComplete(const URLRequest& /*urlRequest*/, const Session& /*urlSession*/,
                           const Builder& /*requestBuilder*/, const std::optional<Data>& /*data*/,
                           const URLResponsePointer& /*response*/,
                           const std::expected<std::any, Failure>& /*result*/) {}
};

/// Sends every request unchanged, and never retries. Builders need not call it, but they call any class
/// that is derived from it.
class DefaultOpenAPIInterceptor : public OpenAPIInterceptor {
 public:
  void intercept(const URLRequest& urlRequest, const Session&, const Builder&,
                 InterceptCompletion completion) override {
    completion(urlRequest);
  }
  void retry(const URLRequest&, const Session&, const Builder&, const std::optional<Data>&,
             const URLResponsePointer&, const Failure&, RetryCompletion completion) override {
    completion(OpenAPIInterceptorRetry::dontRetry);
  }
};

}  // namespace tilvanego
