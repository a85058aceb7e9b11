// The further request after a redirect or a challenge.

#include <algorithm>
#include <cstddef>
#include <utility>

#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/network/URLCredentialStorage.h>
#include <tilvanego/network/curl/Challenges.h>
#include <tilvanego/network/curl/Origins.h>
#include <tilvanego/network/curl/RequestRules.h>
#include <tilvanego/network/curl/Transfer.h>

namespace tilvanego::detail {
namespace {

constexpr int maximumRedirects = 20;
/// Limits the challenges of one task, because a delegate may never reject.
constexpr std::size_t maxChallengeResponses = 10;

/// Ignores the realm, because a server can send another realm each time.
bool isOfSameServer(const URLProtectionSpace& left, const URLProtectionSpace& right) {
  return left.protocol == right.protocol && left.host == right.host && left.port == right.port &&
         left.isProxy == right.isProxy;
}

}  // namespace

std::expected<bool, TransportError> Transfer::followRedirect(int statusCode) {
  const auto head = readHead(head_.lines());
  const auto field = head.headers.value("Location");
  if (!field) return false;
  const char* target = nullptr;
  curl_easy_getinfo(handle(), CURLINFO_REDIRECT_URL, &target);
  auto next = redirectedRequest(*request_, statusCode, *field, target ? target : "");
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

// libcurl has parsed the challenge too: with the credential set, it adds the field to the next request. For
// Digest that needs the same handle.
bool Transfer::respondToChallenge(bool fromProxy) {
  challenged_ = true;
  const auto head = readHead(head_.lines());
  const auto field = head.headers.value(fromProxy ? "Proxy-Authenticate" : "WWW-Authenticate");
  const auto supported = field ? supportedSpace(parseChallenges(*field)) : std::nullopt;
  if (!supported || spacesWithCredential_.size() >= maxChallengeResponses) return false;
  auto challenge = challengeFor(*supported, fromProxy);
  if (!challenge) return false;
  const auto credential = credentialFor(*challenge);
  if (!credential) return false;

  const bool digest = supported->authenticationMethod == URLProtectionSpace::AuthenticationMethod::httpDigest;
  keepsHandle_ = digest || !spacesWithCredential_.empty();
  prepare();
  keepsHandle_ = true;
  sendCredential(fromProxy ? proxyOptions : serverOptions, *credential, digest);
  spacesWithCredential_.push_back(std::move(challenge->protectionSpace));
  return true;
}

std::optional<URLCredential> Transfer::credentialFor(const URLAuthenticationChallenge& challenge) const {
  using enum URLAuthenticationResponse::Disposition;
  URLAuthenticationResponse response;
  if (settings_.delegate) {
    settings_.gate->runHostCode([&] {
      try {
        response = settings_.delegate->didReceiveChallenge(settings_.configuration, *task_, challenge);
      } catch (...) {
        response.disposition = rejectProtectionSpace;
      }
    });
  }
  if (response.disposition == useCredential) return std::move(response.credential);
  if (response.disposition == performDefaultHandling) return challenge.proposedCredential;
  return std::nullopt;
}

// Returns no value for a challenge of a proxy if the session has no proxy.
std::optional<URLAuthenticationChallenge> Transfer::challengeFor(URLProtectionSpace space,
                                                                 bool fromProxy) const {
  auto origin = originOf(*request_->url);
  const bool isElsewhere = origin != originOf(*task_->request().url);
  if (fromProxy) {
    const auto& proxy = settings_.proxies.forScheme(isSecure(*request_->url));
    if (proxy.url.empty()) return std::nullopt;
    nameProxy(space, proxy);
  } else if (origin) {
    space.protocol = std::move(origin->scheme);
    space.host = std::move(origin->host);
    space.port = origin->port;
  }
  const auto failures = std::ranges::count_if(
      spacesWithCredential_, [&](const URLProtectionSpace& each) { return isOfSameServer(each, space); });

  URLAuthenticationChallenge challenge{.protectionSpace = std::move(space),
                                       .previousFailureCount = static_cast<int>(failures),
                                       .isElsewhere = isElsewhere && !fromProxy};
  if (failures == 0) challenge.proposedCredential = proposedCredential(challenge);
  return challenge;
}

std::optional<URLCredential> Transfer::proposedCredential(const URLAuthenticationChallenge& challenge) const {
  const auto& url = *task_->request().url;
  if (!challenge.protectionSpace.isProxy && !challenge.isElsewhere) {
    if (auto user = url.user()) return URLCredential{*std::move(user), url.password().value_or("")};
  }
  const auto& storage = settings_.configuration.credentialStorage;
  return storage ? storage->defaultCredential(challenge.protectionSpace) : std::nullopt;
}

}  // namespace tilvanego::detail
