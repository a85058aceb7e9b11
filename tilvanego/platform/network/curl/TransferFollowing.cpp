// What follows on an answer that isn't the last: a redirect's target, or the same request with credentials.

#include <tilvanego/http_client/HTTPHead.h>
#include <tilvanego/platform/network/URLCredentialStorage.h>
#include <tilvanego/platform/network/curl/Challenges.h>
#include <tilvanego/platform/network/curl/Origins.h>
#include <tilvanego/platform/network/curl/RequestRules.h>
#include <tilvanego/platform/network/curl/Transfer.h>

#include <utility>

namespace tilvanego::detail {

namespace {

constexpr int maximumRedirects = 20;
/// A server that names a new realm each time must not be asked for ever.
constexpr int maximumChallenges = 10;

}  // namespace

std::expected<bool, TransportError> Transfer::followsRedirect(int statusCode) {
  const char* location = nullptr;
  curl_easy_getinfo(handle(), CURLINFO_REDIRECT_URL, &location);
  if (!location) return false;
  auto next = redirectedRequest(*request_, statusCode, location);
  if (!next) return std::unexpected(next.error());
  if (!*next) return false;
  if (++redirects_ > maximumRedirects) {
    return std::unexpected(TransportError{TransportError::Code::tooManyRedirects, "more than 20 redirects"});
  }

  if (challenged_ && originOf(*request_->url) != originOf(*(*next)->url)) {
    withholdCredential(serverOptions);
  }
  redirected_ = *std::move(next);
  request_ = &*redirected_;
  prepare();
  return true;
}

// libcurl has read the challenge too: with the credential set, it computes the answer for the next sending.
bool Transfer::answersChallenge(bool fromProxy) {
  challenged_ = true;
  const auto head = readHead(head_.lines());
  const auto field = head.headers.value(fromProxy ? "Proxy-Authenticate" : "WWW-Authenticate");
  const auto answerable = field ? answerableSpace(parseChallenges(*field)) : std::nullopt;
  if (!answerable || ++challenges_ > maximumChallenges) return false;
  auto challenge = challengeFor(*answerable, fromProxy);
  if (!challenge) return false;

  const auto answer = settings_.delegate ? settings_.delegate->didReceiveChallenge(settings_.configuration,
                                                                                   *task_, *challenge)
                                         : URLAuthenticationAnswer();
  using enum URLAuthenticationAnswer::Disposition;
  std::optional<URLCredential> credential;
  if (answer.disposition == useCredential) credential = answer.credential;
  if (answer.disposition == performDefaultHandling) credential = challenge->proposedCredential;
  if (!credential) return false;

  const bool digest =
      answerable->authenticationMethod == URLProtectionSpace::AuthenticationMethod::httpDigest;
  sendCredential(fromProxy ? proxyOptions : serverOptions, *credential, digest);
  prepare();
  return true;
}

// None if a proxy's challenge came from something that can't be the proxy.
std::optional<URLAuthenticationChallenge> Transfer::challengeFor(URLProtectionSpace space, bool fromProxy) {
  if (fromProxy) {
    const auto& proxy = settings_.proxies.forScheme(isSecure(*request_->url));
    if (proxy.url.empty()) return std::nullopt;
    nameProxy(space, proxy);
  } else if (auto origin = originOf(*request_->url)) {
    space.protocol = std::move(origin->scheme);
    space.host = std::move(origin->host);
    space.port = origin->port;
  }
  failures_ = lastChallenge_ == space ? failures_ + 1 : 0;
  lastChallenge_ = space;

  URLAuthenticationChallenge challenge{.protectionSpace = std::move(space),
                                       .previousFailureCount = failures_};
  if (failures_ == 0) challenge.proposedCredential = proposedCredential(challenge.protectionSpace);
  return challenge;
}

std::optional<URLCredential> Transfer::proposedCredential(const URLProtectionSpace& space) const {
  if (!space.isProxy && !redirected_) {
    if (auto user = request_->url->user())
      return URLCredential{*std::move(user), request_->url->password().value_or("")};
  }
  const auto& storage = settings_.configuration.credentialStorage;
  return storage ? storage->defaultCredential(space) : std::nullopt;
}

}  // namespace tilvanego::detail
