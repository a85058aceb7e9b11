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
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

class RequestBuilder;

/// Whether a failed request is sent once more.
enum class OpenAPIInterceptorRetry : std::uint8_t { retry, dontRetry };

/// Stands between the builders and the session: changes or refuses each request, watches it, and decides on
/// another try. One interceptor serves all builders of a configuration, on several threads at once; it is
/// called without any lock held.
///
/// Any hook may throw. From `intercept` that is a refusal, from `retry` the answer not to; from the others,
/// which only listen, and after an answer was given, the exception is dropped after one line on standard
/// error.
///
/// The session and the builder may be kept beyond the call. A request is sent as often as `retry` is
/// answered: the bound and the pause between two tries are the interceptor's.
class OpenAPIInterceptor {
 public:
  using Session = std::shared_ptr<URLSessionProtocol>;
  using Builder = std::shared_ptr<RequestBuilder>;
  using InterceptCompletion = std::function<void(std::expected<URLRequest, Failure>)>;
  using RetryCompletion = std::function<void(OpenAPIInterceptorRetry)>;

  virtual ~OpenAPIInterceptor() = default;

  /// Gives `completion` the request to send in place of `urlRequest`, or a refusal: now or later, once (a
  /// second answer is passed over), on any thread. The send goes on there. Called on the thread that executes
  /// the builder.
  virtual void intercept(const URLRequest& urlRequest, const Session& urlSession,
                         const Builder& requestBuilder, InterceptCompletion completion) = 0;

  /// Answers whether a request that failed by `error` is built and sent once more: now or later, once, on any
  /// thread. A new try goes through `intercept` again. Called on the session's thread.
  virtual void retry(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
                     const std::optional<Data>& data, const URLResponsePointer& response,
                     const Failure& error, RetryCompletion completion) = 0;

  /// The request is about to go out, on the thread that `intercept` answered on.
  virtual void willSendRequest(const URLRequest& urlRequest, const Session& urlSession,
                               const Builder& requestBuilder);

  /// The session gave an answer or a failure. Called on the session's thread, for each try.
  virtual void didReceiveResponse(const URLRequest& urlRequest, const Session& urlSession,
                                  const Builder& requestBuilder, const std::optional<Data>& data,
                                  const URLResponsePointer& response, const std::optional<Failure>& error);

  /// The call has ended: its completion comes next. The result's body is of the builder's body type. Called
  /// where the call ended: on the session's thread, or where a refusal or the answer of `retry` was given.
  virtual void didComplete(const URLRequest& urlRequest, const Session& urlSession,
                           const Builder& requestBuilder, const std::optional<Data>& data,
                           const URLResponsePointer& response,
                           const std::expected<std::any, Failure>& result);
};

/// Sends every request as it is, once.
class DefaultOpenAPIInterceptor : public OpenAPIInterceptor {
 public:
  void intercept(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
                 InterceptCompletion completion) override;
  void retry(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
             const std::optional<Data>& data, const URLResponsePointer& response, const Failure& error,
             RetryCompletion completion) override;
};

}  // namespace tilvanego
