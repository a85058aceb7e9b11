#pragma once

#include <atomic>
#include <optional>
#include <string>

#include <tilvanego/http_client/OpenAPIInterceptor.h>
#include <tilvanego/network/OpenAPIMutex.h>

#include "SendOptions.h"

namespace tilvanego::program {

/// Sets the request's time limit and the content type that the user asked for. Repeats a send that found no
/// connection, lost it, or received a status of 500 or more.
class SendInterceptor final : public DefaultOpenAPIInterceptor {
 public:
  explicit SendInterceptor(const SendOptions& options);

  void intercept(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
                 InterceptCompletion completion) override;
  void retry(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
             const std::optional<Data>& data, const URLResponsePointer& response, const Failure& error,
             RetryCompletion completion) override;
  void didReceiveResponse(const URLRequest& urlRequest, const Session& urlSession,
                          const Builder& requestBuilder, const std::optional<Data>& data,
                          const URLResponsePointer& response, const std::optional<Failure>& error) override;

  /// The latest response; null before the first.
  [[nodiscard]] URLResponsePointer response() const { return response_.value(); }

 private:
  const std::optional<double> timeout_;
  const std::optional<std::string> contentType_;
  std::atomic<unsigned> sendsLeft_;
  OpenAPIMutex<URLResponsePointer> response_{nullptr};
};

}  // namespace tilvanego::program
