#pragma once

#include <memory>
#include <vector>

#include <tilvanego/http_client/OpenAPIInterceptor.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Several interceptors in place of one, such as one that signs, one that retries and one that watches. Each
/// function calls them in their order:
///
/// - `intercept` passes the request of each to the next, and the last one's is sent. The first refusal ends
///   the request, and the rest isn't called.
/// - `retry` asks one after the other: the first that answers `retry` decides, and the rest isn't called.
/// - The functions that only observe call all, also if one throws.
///
/// ```cpp
/// std::shared_ptr<OpenAPIInterceptor> oneOf(InterceptorChain::Interceptors signingAndRetrying) {
///   return std::make_shared<InterceptorChain>(std::move(signingAndRetrying));
/// }
/// ```
class InterceptorChain : public OpenAPIInterceptor {
 public:
  using Interceptors = std::vector<std::shared_ptr<OpenAPIInterceptor>>;

  static constexpr std::size_t mostInterceptors = 100;

  /// No pointer may be null. Without interceptors, each request is sent unchanged and none is retried. More
  /// than `mostInterceptors` end the process with a message.
  explicit InterceptorChain(Interceptors interceptors);

  void intercept(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
                 InterceptCompletion completion) override;
  void retry(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
             const std::optional<Data>& data, const URLResponsePointer& response, const Failure& error,
             RetryCompletion completion) override;
  void willSendRequest(const URLRequest& urlRequest, const Session& urlSession,
                       const Builder& requestBuilder) override;
  void didReceiveResponse(const URLRequest& urlRequest, const Session& urlSession,
                          const Builder& requestBuilder, const std::optional<Data>& data,
                          const URLResponsePointer& response, const std::optional<Failure>& error) override;
  void didComplete(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
                   const std::optional<Data>& data, const URLResponsePointer& response,
                   const std::expected<std::any, Failure>& result) override;

 private:
  /// Shared with requests whose answers come later.
  const std::shared_ptr<const Interceptors> interceptors_;
};

}  // namespace tilvanego
