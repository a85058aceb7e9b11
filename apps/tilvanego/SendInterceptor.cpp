#include "SendInterceptor.h"

#include <utility>

#include <tilvanego/network/TransportError.h>

namespace tilvanego::program {
namespace {

/// The content type of a multipart body contains the boundary, so it isn't replaced.
std::optional<std::string> ownContentType(const SendOptions& options) {
  const auto type = options.headers.value("Content-Type");
  if (!type || options.bodyKind == SendBodyKind::multipart) return std::nullopt;
  return std::string(*type);
}

bool isWorthAnotherSend(const URLResponsePointer& response, const Failure& error) {
  if (const auto* transport = error.as<TransportError>()) {
    return transport->code == TransportError::Code::networkConnectionLost ||
           transport->code == TransportError::Code::cannotConnectToHost;
  }
  const auto* http = dynamic_cast<const HTTPURLResponse*>(response.get());
  return http != nullptr && http->statusCode() >= 500;
}

}  // namespace

SendInterceptor::SendInterceptor(const SendOptions& options)
    : timeout_(options.timeout), contentType_(ownContentType(options)), sendsLeft_(options.retries) {}

void SendInterceptor::intercept(const URLRequest& urlRequest, const Session&, const Builder&,
                                InterceptCompletion completion) {
  URLRequest request = urlRequest;
  if (timeout_) request.timeoutInterval = *timeout_;
  if (contentType_) request.headers.setValue("Content-Type", *contentType_);
  completion(std::move(request));
}

void SendInterceptor::retry(const URLRequest&, const Session&, const Builder&, const std::optional<Data>&,
                            const URLResponsePointer& response, const Failure& error,
                            RetryCompletion completion) {
  const bool again = sendsLeft_ > 0 && isWorthAnotherSend(response, error);
  if (again) --sendsLeft_;
  completion(again ? OpenAPIInterceptorRetry::retry : OpenAPIInterceptorRetry::dontRetry);
}

void SendInterceptor::didReceiveResponse(const URLRequest&, const Session&, const Builder&,
                                         const std::optional<Data>&, const URLResponsePointer& response,
                                         const std::optional<Failure>&) {
  response_.withValue([&](URLResponsePointer& latest) { latest = response; });
}

}  // namespace tilvanego::program
