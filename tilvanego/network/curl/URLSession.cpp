#include <tilvanego/network/URLSession.h>

#include <typeinfo>
#include <utility>

#include <tilvanego/network/SharedRequest.h>
#include <tilvanego/network/curl/SessionLoop.h>
#include <tilvanego/network/curl/SessionTask.h>
#include <tilvanego/network/curl/TLSSettings.h>

namespace [[gnu::visibility("default")]] tilvanego {

URLSession::URLSession(URLSessionConfiguration configuration, std::shared_ptr<URLSessionDelegate> delegate) {
  auto proxies = detail::Proxies::from(configuration.proxy);
  auto tls = detail::readTLS(configuration);
  auto answered = configuration.challenges == ChallengeStorage::inMemory
                      ? std::make_shared<detail::AnsweredChallenges>()
                      : nullptr;
  loop_ = std::make_shared<detail::SessionLoop>(
      detail::TransferSettings{std::move(configuration), std::move(delegate), std::move(proxies),
                               std::move(tls), std::move(answered)});
}

URLSession::~URLSession() { loop_->close(); }

const URLSessionConfiguration& URLSession::configuration() const { return loop_->configuration(); }

std::vector<HTTPCookie> URLSession::cookies() const { return loop_->cookies(); }

void URLSession::clearCookies() { loop_->clearCookies(); }

std::shared_ptr<URLSessionDataTaskProtocol> URLSession::dataTaskFromProtocol(
    const URLRequest& request, DataTaskCompletion completionHandler) {
  return std::make_shared<detail::SessionTask>(loop_, std::make_shared<const URLRequest>(request),
                                               std::move(completionHandler));
}

std::shared_ptr<URLSessionDataTaskProtocol> detail::dataTaskSharing(
    URLSessionProtocol& session, const std::shared_ptr<const URLRequest>& request,
    DataTaskCompletion completionHandler) {
  // The class is final.
  if (typeid(session) != typeid(URLSession)) {
    return session.dataTaskFromProtocol(*request, std::move(completionHandler));
  }
  const auto& loop = static_cast<URLSession&>(session).loop_;
  return std::make_shared<SessionTask>(loop, request, std::move(completionHandler));
}

}  // namespace tilvanego
