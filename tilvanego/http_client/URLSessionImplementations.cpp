#include <tilvanego/http_client/URLSessionImplementations.h>

#include <utility>

#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/platform/RunLoop.h>

namespace [[gnu::visibility("default")]] tilvanego {

// Defined here, because Configuration.cpp doesn't depend on the classes that send requests.
const std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration>&
OstrelTilvanePoiModelsAPIConfiguration::shared() {
  using Configuration = OstrelTilvanePoiModelsAPIConfiguration;
  // Never destroyed: a send may end while the process does.
  static const auto& instance = *new std::shared_ptr<Configuration>(std::make_shared<Configuration>(
      "https://api.tilvane.ostrel.com", Headers(), std::nullopt,
      std::make_shared<URLSessionRequestBuilderFactory>(), RunLoop::main(), std::make_shared<CodableHelper>(),
      StatusCodeRange(), std::make_shared<DefaultOpenAPIInterceptor>()));
  return instance;
}

URLAuthenticationResponse SessionDelegate::didReceiveChallenge(const URLSessionConfiguration& configuration,
                                                               const URLSessionDataTaskProtocol& task,
                                                               const URLAuthenticationChallenge& challenge) {
  using enum URLAuthenticationResponse::Disposition;
  if (challenge.previousFailureCount > 0) return {rejectProtectionSpace, std::nullopt};
  std::optional<URLCredential> credential;
  if (!challenge.protectionSpace.isProxy && !challenge.isElsewhere) {
    credential =
        URLSessionRequestBuilderConfiguration::shared().credentialStore->value(task.taskIdentifier());
  }
  if (!credential && configuration.credentialStorage) {
    credential = configuration.credentialStorage->defaultCredential(challenge.protectionSpace);
  }
  if (!credential) return {performDefaultHandling, std::nullopt};
  return {useCredential, std::move(credential)};
}

void SessionDelegate::didEndTask(const URLSessionDataTaskProtocol& task) {
  URLSessionRequestBuilderConfiguration::shared().credentialStore->setValue(task.taskIdentifier(),
                                                                            std::nullopt);
}

const URLSessionRequestBuilderConfiguration& URLSessionRequestBuilderConfiguration::shared() {
  // Never destroyed: a send may end while the process does.
  static const auto& instance = *new URLSessionRequestBuilderConfiguration;
  return instance;
}

URLSessionRequestBuilderConfiguration::URLSessionRequestBuilderConfiguration()
    : sessionDelegate(std::make_shared<SessionDelegate>()),
      defaultURLSession(std::make_shared<URLSession>(URLSessionConfiguration(), sessionDelegate)),
      credentialStore(std::make_shared<SynchronizedDictionary<int, URLCredential>>()) {}

RequestBuilderKind URLSessionRequestBuilderFactory::getNonDecodableBuilder(const BodyType&) const {
  return requestBuilderKind<URLSessionRequestBuilder>();
}

RequestBuilderKind URLSessionRequestBuilderFactory::getBuilder(const BodyType&) const {
  return requestBuilderKind<URLSessionDecodableRequestBuilder>();
}

}  // namespace tilvanego
