// The further request after a redirect or a challenge. Transfer.cpp repeats a request whose connection ended.

#include <algorithm>
#include <cstddef>
#include <utility>

#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/network/URLCredentialStorage.h>
#include <tilvanego/network/curl/Origins.h>
#include <tilvanego/network/curl/RequestRules.h>
#include <tilvanego/network/curl/Transfer.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/values/Wiping.h>

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

  const auto& from = *request_->url;
  const auto& to = *(*next)->url;
  if (originOf(from) != originOf(to)) serverAuthorization_.reset();
  const auto& proxies = settings_.proxies;
  if (proxies.forScheme(isSecure(from)) != proxies.forScheme(isSecure(to))) proxyAuthorization_.reset();
  redirected_ = *std::move(next);
  request_ = &*redirected_;
  prepare();
  return true;
}

bool Transfer::respondToChallenge(bool fromProxy) {
  const auto head = readHead(head_.lines(), FieldValues::bytes);
  const auto field = head.headers.value(fromProxy ? "Proxy-Authenticate" : "WWW-Authenticate");
  const auto challenges = parseChallenges(field.value_or(""));
  const auto* const challenge = supportedChallenge(challenges);
  auto& authorization = fromProxy ? proxyAuthorization_ : serverAuthorization_;
  const bool isRenewed = authorization && reviseAnswer(*authorization, challenge, fromProxy);
  if (!challenge) return false;
  if (!isRenewed) {
    auto next = authorizationFor(*challenge, fromProxy);
    authorization.reset();
    if (!next) return false;
    authorization.emplace(*std::move(next));
  }
  prepare();
  return true;
}

// Returns true if the answer was renewed, which the server hasn't accepted. It is remembered no more; but if
// it was given ahead, and the server asks for another realm, it was for other paths.
bool Transfer::reviseAnswer(Authorization& authorization, const Challenge* challenge, bool fromProxy) {
  const auto refused = authorization.inUse();
  const bool isMisplaced =
      challenge && authorization.isAhead() && spaceOf(*challenge) != spaceOf(refused->challenge);
  const bool isRenewed = challenge && authorization.renew(*challenge);
  if (isMisplaced) {
    // It was the only one, and doesn't count as refused.
    std::erase_if(spacesWithCredential_, [&](const auto& space) { return space.isProxy == fromProxy; });
  } else if (settings_.answered) {
    settings_.answered->forget(refused);
  }
  return isRenewed;
}

std::string_view Transfer::guardedPath(bool fromProxy) const {
  return fromProxy ? std::string_view() : request_->url->encodedPath();
}

// Sends the first request of a task with an answer to a challenge that was answered before. A field of the
// host's own isn't replaced.
void Transfer::answerAhead(bool fromProxy) {
  if (!settings_.answered ||
      request_->headers.value(fromProxy ? "Proxy-Authorization" : "Authorization").has_value()) {
    return;
  }
  URLProtectionSpace server;
  if (!nameServer(server, fromProxy)) return;
  const auto known = settings_.answered->find(server, guardedPath(fromProxy));
  if (!known) return;
  auto answer = authorizationFor(known->challenge, fromProxy, known);
  if (answer) (fromProxy ? proxyAuthorization_ : serverAuthorization_).emplace(*std::move(answer));
}

void Transfer::rememberAnswer(bool fromProxy) {
  const auto& authorization = fromProxy ? proxyAuthorization_ : serverAuthorization_;
  if (!settings_.answered || !authorization) return;
  URLProtectionSpace server;
  if (!nameServer(server, fromProxy)) return;
  settings_.answered->remember(server, guardedPath(fromProxy), authorization->inUse());
}

std::optional<Authorization> Transfer::authorizationFor(const Challenge& challenge, bool fromProxy,
                                                        const std::shared_ptr<ChallengeInUse>& known) {
  if (spacesWithCredential_.size() >= maxChallengeResponses) return std::nullopt;
  auto told = challengeFor(spaceOf(challenge), fromProxy);
  if (!told) return std::nullopt;
  const WipedAtEnd wipedProposal(told->proposedCredential);
  auto credential = credentialFor(*told);
  const WipedAtEnd wiped(credential);
  if (!credential) return std::nullopt;
  OpenSSLRandomSource random;
  auto authorization =
      known ? Authorization::ahead(known, *credential) : Authorization::make(challenge, *credential, random);
  if (authorization) spacesWithCredential_.push_back(std::move(told->protectionSpace));
  return authorization;
}

std::optional<URLCredential> Transfer::credentialFor(const URLAuthenticationChallenge& challenge) const {
  using enum URLAuthenticationResponse::Disposition;
  URLAuthenticationResponse response;
  const WipedAtEnd wiped(response.credential);
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

// Sets all but the realm and the method. Returns false for a proxy if the session has none.
bool Transfer::nameServer(URLProtectionSpace& space, bool fromProxy) const {
  if (fromProxy) {
    const auto& proxy = settings_.proxies.forScheme(isSecure(*request_->url));
    if (proxy.url.empty()) return false;
    nameProxy(space, proxy);
  } else if (auto origin = originOf(*request_->url)) {
    space.protocol = std::move(origin->scheme);
    space.host = std::move(origin->host);
    space.port = origin->port;
  }
  return true;
}

// Returns no value for a challenge of a proxy if the session has no proxy.
std::optional<URLAuthenticationChallenge> Transfer::challengeFor(URLProtectionSpace space,
                                                                 bool fromProxy) const {
  if (!nameServer(space, fromProxy)) return std::nullopt;
  const bool isElsewhere = originOf(*request_->url) != originOf(*task_->request().url);
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
  if (challenge.protectionSpace.isProxy) {
    const auto& proxy = settings_.proxies.forScheme(isSecure(*request_->url));
    if (proxy.credential) return proxy.credential;
  } else if (!challenge.isElsewhere) {
    if (auto user = url.user()) return URLCredential{*std::move(user), url.password().value_or("")};
  }
  const auto& storage = settings_.configuration.credentialStorage;
  return storage ? storage->defaultCredential(challenge.protectionSpace) : std::nullopt;
}

}  // namespace tilvanego::detail
