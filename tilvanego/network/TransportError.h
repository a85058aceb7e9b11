#pragma once

#include <cstdint>
#include <string>

#include <tilvanego/values/CaseNames.h>
#include <tilvanego/values/Shown.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Why a request got no complete response: the failure that a `URLSession` passes to a completion.
struct TransportError {
  enum class Code : std::uint8_t {
    /// The host cancelled the task or its progress, or destroyed the session.
    cancelled,
    /// No byte was sent or received for the request's `timeoutInterval`, or the request took longer than the
    /// session's `maximumRequestTime`, or its `deadline` has passed.
    timedOut,
    /// The request is invalid: a method or header name that isn't a token, a line break or NUL in a header
    /// value, a body for HEAD, more than 1 MB of URL and header fields. Nothing was sent.
    invalidRequest,
    /// The URL of the request or of a redirect isn't http or https, or has no host.
    unsupportedURL,
    /// The name of the host or of the proxy has no address.
    cannotFindHost,
    /// The host or the proxy accepts no connection, or ends it before TLS is set up, or the proxy refused to
    /// connect to the host.
    cannotConnectToHost,
    /// The proxy requires credentials that the request didn't have.
    proxyAuthenticationRequired,
    /// TLS failed before the server's certificate was checked, or a file of certificates can't be read.
    secureConnectionFailed,
    /// The server's certificate isn't valid for its name, has expired, or has no trusted issuer.
    serverCertificateUntrusted,
    /// The server's public key is none of the pinned ones: see `TLSOptions::pinnedKeys`.
    serverKeyNotPinned,
    /// The server requires a certificate of the client, or refuses the one of `TLSOptions::certificate`. Some
    /// servers tell it by a status instead, or only say that TLS failed.
    clientCertificateRefused,
    /// The connection ended during the request or the response. The server may have processed the request.
    networkConnectionLost,
    /// The response violates the protocol, or its head exceeds the session's limits.
    badServerResponse,
    /// The body of the response is larger than the `maximumBodySize` of the request or the session.
    bodyTooLarge,
    /// More than 20 redirects.
    tooManyRedirects,
    /// A redirect from https to http, which isn't followed.
    redirectRefused,
    /// The session's `TLSOptions` are wrong, as the message says. The session sends nothing.
    invalidTLSOptions,
    /// Any other reason, such as a lack of memory.
    unknown,
  };

  Code code = Code::unknown;
  /// A text for a developer. It may contain host names, header names and libcurl's message, never a user, a
  /// password, the value of a header field or a body.
  std::string message;

  /// The code's name and the message in one line.
  [[nodiscard]] std::string description() const;

  bool operator==(const TransportError&) const = default;
};

template <>
inline constexpr bool showsCaseNames<TransportError::Code> = true;

}  // namespace tilvanego
