#pragma once

#include <atomic>
#include <optional>
#include <string>

#include <tilvanego/http_client/OpenAPIInterceptor.h>
#include <tilvanego/network/OpenAPIMutex.h>

#include "SendOptions.h"

namespace tilvanego::program {

/// Gives a request what its builder doesn't say: the time limit and a content type of the person's own. Has a
/// send repeated that found no connection, lost it, or was answered with a status of 500 or more.
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

  /// Of the latest answer; null before one came.
  [[nodiscard]] URLResponsePointer response() const { return response_.value(); }

 private:
  const std::optional<double> timeout_;
  const std::optional<std::string> contentType_;
  std::atomic<unsigned> sendsLeft_;
  OpenAPIMutex<URLResponsePointer> response_{nullptr};
};

}  // namespace tilvanego::program
