#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

#include <tilvanego/network/URLCredential.h>
#include <tilvanego/network/URLSessionProtocol.h>

namespace tilvanego {

struct URLSessionConfiguration;

/// What one set of credentials opens: a realm of a server, or a proxy.
struct URLProtectionSpace {
  enum class AuthenticationMethod : std::uint8_t {
    /// RFC 7617: the password goes out readable for who can read the connection.
    httpBasic,
    /// RFC 7616: a digest of the password goes out.
    httpDigest,
  };

  /// In lower case; an IPv6 address in its brackets.
  std::string host;
  std::uint32_t port = 0;
  /// "http" or "https"; of a proxy, what the proxy itself speaks.
  std::string protocol;
  /// As the server calls it; empty if it has no name.
  std::string realm;
  AuthenticationMethod authenticationMethod = AuthenticationMethod::httpBasic;
  bool isProxy = false;

  std::strong_ordering operator<=>(const URLProtectionSpace&) const = default;
};

/// A server, or a proxy, asks who is calling.
struct URLAuthenticationChallenge {
  URLProtectionSpace protectionSpace;
  /// How many credentials of this task this server or proxy (scheme, host, port) has refused already,
  /// whatever realm it named for each.
  int previousFailureCount = 0;
  /// What default handling would use: the user and password of the request's URL, if its own server asks,
  /// else the storage's default credential for the space. None after a failure.
  std::optional<URLCredential> proposedCredential{};
  /// A redirect led to this server: it has another scheme, host or port than the task's request.
  bool isElsewhere = false;
};

/// What is to become of a challenge.
struct URLAuthenticationResponse {
  enum class Disposition : std::uint8_t {
    /// The request is sent again with `credential`; without one, the same as a rejection.
    useCredential,
    /// The request is sent again with the proposed credential, if there is one; else the same as a rejection.
    performDefaultHandling,
    /// The answer that holds the challenge is the task's answer.
    rejectProtectionSpace,
  };

  Disposition disposition = Disposition::performDefaultHandling;
  std::optional<URLCredential> credential{};
};

/// What a session asks its host. A session without a delegate handles challenges by default.
class URLSessionDelegate {
 public:
  virtual ~URLSessionDelegate() = default;

  /// Called on the session's thread, which waits for the answer; no lock is held. `task` is the task that was
  /// challenged, `configuration` that of its session. A credential goes to who asks: what the host means for
  /// the request's own server goes neither to a proxy nor elsewhere.
  ///
  /// May throw: the exception counts as `rejectProtectionSpace`.
  virtual URLAuthenticationResponse didReceiveChallenge(const URLSessionConfiguration& configuration,
                                                        const URLSessionDataTaskProtocol& task,
                                                        const URLAuthenticationChallenge& challenge) = 0;

  /// The task has ended, or its session has, and is challenged no more: what was kept to answer for it can
  /// go. Called on the session's thread, before the task's completion; no lock is held.
  ///
  /// May throw: the exception is dropped after one line on standard error.
  virtual void didEndTask(const URLSessionDataTaskProtocol& /*task*/) {}
};

}  // namespace tilvanego
