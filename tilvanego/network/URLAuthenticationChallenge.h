#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

#include <tilvanego/network/URLCredential.h>
#include <tilvanego/network/URLSessionProtocol.h>
#include <tilvanego/values/CaseNames.h>

namespace [[gnu::visibility("default")]] tilvanego {

struct URLSessionConfiguration;

/// The area that one credential is valid for: a realm of a server, or a proxy.
struct URLProtectionSpace {
  enum class AuthenticationMethod : std::uint8_t {
    /// RFC 7617: sends the password unencrypted.
    httpBasic,
    /// RFC 7616: sends a digest of the password.
    httpDigest,
  };

  /// In lower case; an IPv6 address in brackets.
  std::string host;
  std::uint32_t port = 0;
  /// "http" or "https"; for a proxy, the protocol of the connection to the proxy.
  std::string protocol;
  /// The realm's name as the server sent it; empty if it sent none.
  std::string realm;
  AuthenticationMethod authenticationMethod = AuthenticationMethod::httpBasic;
  bool isProxy = false;

  std::strong_ordering operator<=>(const URLProtectionSpace&) const = default;
};

template <>
inline constexpr bool showsCaseNames<URLProtectionSpace::AuthenticationMethod> = true;

/// A server or a proxy requires credentials: status 401 or 407 (RFC 9110, section 11).
struct URLAuthenticationChallenge {
  URLProtectionSpace protectionSpace;
  /// How many credentials of this task were already sent to this server or proxy (scheme, host, port), for
  /// any realm: it has refused them, or a redirect has led back to it.
  int previousFailureCount = 0;
  /// The credential that default handling would use: the user and password of the request's URL, if the
  /// request's own server sent the challenge, else the storage's default credential for the space. No value
  /// after a failure.
  std::optional<URLCredential> proposedCredential{};
  /// The server's scheme, host or port differs from the one of the task's request, after a redirect.
  bool isElsewhere = false;
};

/// A delegate's response to a challenge.
struct URLAuthenticationResponse {
  enum class Disposition : std::uint8_t {
    /// Send the request again with `credential`. Without a credential, the same as a rejection.
    useCredential,
    /// Send the request again with the proposed credential. Without one, the same as a rejection.
    performDefaultHandling,
    /// Send no credential: the response with the challenge becomes the task's response.
    rejectProtectionSpace,
  };

  Disposition disposition = Disposition::performDefaultHandling;
  std::optional<URLCredential> credential{};
};

template <>
inline constexpr bool showsCaseNames<URLAuthenticationResponse::Disposition> = true;

/// Callbacks of a session, on the session's thread or on one that sends a request itself, by `resumeHere`:
/// then on several threads at once. A session without a delegate handles challenges by default.
class URLSessionDelegate {
 public:
  virtual ~URLSessionDelegate() = default;

  /// Called for each challenge, without a lock held; the session waits for the response. With
  /// `ChallengeStorage::inMemory` also called before a request, for a challenge that is remembered: of the
  /// later challenges of that task, one that refuses the credential has a `previousFailureCount` of 1. `task`
  /// is the task that was challenged, `configuration` is the one of its session.
  ///
  /// The credential is sent to the server or proxy that sent the challenge. A delegate must check `isProxy`
  /// and `isElsewhere` before it returns a credential of the request's own server.
  ///
  /// May throw: the exception counts as `rejectProtectionSpace`.
  virtual URLAuthenticationResponse didReceiveChallenge(const URLSessionConfiguration& configuration,
                                                        const URLSessionDataTaskProtocol& task,
                                                        const URLAuthenticationChallenge& challenge) = 0;

  /// Called when a task has ended, also by the end of its session: no further challenge of it comes. Called
  /// before the task's completion, without a lock held.
  ///
  /// May throw: the exception is dropped after one line on standard error.
  virtual void didEndTask(const URLSessionDataTaskProtocol& /*task*/) {}
};

}  // namespace tilvanego
