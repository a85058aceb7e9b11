#pragma once

#include <cstdint>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// Why a request got no complete answer: the failure that a `URLSession` hands to a completion.
struct TransportError {
  enum class Code : std::uint8_t {
    /// The task, its progress or its session was ended by the host.
    cancelled,
    /// No byte came or went for the request's `timeoutInterval`, or the whole request took longer than the
    /// session's `maximumRequestTime`.
    timedOut,
    /// The request can't be sent as it is: a method or header name that is no token, a line break or NUL in a
    /// header, a body for HEAD, more than 1 MB of URL and header. Nothing was sent.
    invalidRequest,
    /// The URL, or one that the server redirected to, isn't http or https or has no host.
    unsupportedURL,
    /// The name of the host, or of the proxy, has no address.
    cannotFindHost,
    /// Nothing accepts connections there, or the proxy refused to go on.
    cannotConnectToHost,
    /// The proxy wants credentials that it didn't get.
    proxyAuthenticationRequired,
    /// TLS failed before the server could be judged, or a file of certificates can't be read.
    secureConnectionFailed,
    /// The server's certificate isn't valid for its name, is out of date, or comes from no trusted issuer.
    serverCertificateUntrusted,
    /// The connection ended inside the request or the answer. The server may have acted on the request.
    networkConnectionLost,
    /// The answer breaks the protocol, or its head is beyond the session's limits.
    badServerResponse,
    /// The answer's body is larger than the session's or the request's `maximumBodySize`.
    bodyTooLarge,
    /// More than 20 redirects.
    tooManyRedirects,
    /// A redirect from https to http, which isn't followed.
    redirectRefused,
    /// What no other code tells, such as memory that ran short.
    unknown,
  };

  Code code = Code::unknown;
  /// What happened, for a developer: names hosts, header names and the transport's own words, never a user, a
  /// password, a header's value or a body.
  std::string message;

  /// The code's name and the message in one line.
  [[nodiscard]] std::string description() const;

  bool operator==(const TransportError&) const = default;
};

}  // namespace tilvanego
