#pragma once

#include <tilvanego/http_client/URLCredential.h>
#include <tilvanego/http_client/URLSessionProtocol.h>

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

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
  /// How often this task was challenged for this space already; above 0, the last credential was refused.
  int previousFailureCount = 0;
  /// What default handling would use: the user and password of the request's URL, else the default credential
  /// of the session's storage. None after a failure.
  std::optional<URLCredential> proposedCredential{};
};

/// What is to become of a challenge.
struct URLAuthenticationAnswer {
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
  /// challenged, `configuration` that of its session. Must not throw.
  virtual URLAuthenticationAnswer didReceiveChallenge(const URLSessionConfiguration& configuration,
                                                      const URLSessionDataTaskProtocol& task,
                                                      const URLAuthenticationChallenge& challenge) = 0;
};

}  // namespace tilvanego
