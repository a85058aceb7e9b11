#include <tilvanego/http_client/OpenAPIInterceptor.h>

namespace [[gnu::visibility("default")]] tilvanego {

void OpenAPIInterceptor::willSendRequest(const URLRequest&, const Session&, const Builder&) {}

void OpenAPIInterceptor::didReceiveResponse(const URLRequest&, const Session&, const Builder&,
                                            const std::optional<Data>&, const URLResponsePointer&,
                                            const std::optional<Failure>&) {}

void OpenAPIInterceptor::didComplete(const URLRequest&, const Session&, const Builder&,
                                     const std::optional<Data>&, const URLResponsePointer&,
                                     const std::expected<std::any, Failure>&) {}

void DefaultOpenAPIInterceptor::intercept(const URLRequest& urlRequest, const Session&, const Builder&,
                                          InterceptCompletion completion) {
  completion(urlRequest);
}

void DefaultOpenAPIInterceptor::retry(const URLRequest&, const Session&, const Builder&,
                                      const std::optional<Data>&, const URLResponsePointer&, const Failure&,
                                      RetryCompletion completion) {
  completion(OpenAPIInterceptorRetry::dontRetry);
}

}  // namespace tilvanego
