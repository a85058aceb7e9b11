#include <tilvanego/network/TransportError.h>

#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {

namespace {

std::string_view nameOf(TransportError::Code code) {
  using enum TransportError::Code;
  switch (code) {
    case cancelled:
      return "cancelled";
    case timedOut:
      return "timed out";
    case invalidRequest:
      return "invalid request";
    case unsupportedURL:
      return "unsupported URL";
    case cannotFindHost:
      return "cannot find host";
    case cannotConnectToHost:
      return "cannot connect to host";
    case proxyAuthenticationRequired:
      return "proxy authentication required";
    case secureConnectionFailed:
      return "secure connection failed";
    case serverCertificateUntrusted:
      return "server certificate untrusted";
    case networkConnectionLost:
      return "network connection lost";
    case badServerResponse:
      return "bad server response";
    case bodyTooLarge:
      return "body too large";
    case tooManyRedirects:
      return "too many redirects";
    case redirectRefused:
      return "redirect refused";
    case unknown:
      break;
  }
  return "transport failure";
}

}  // namespace

std::string TransportError::description() const {
  std::string text(nameOf(code));
  if (!message.empty()) text.append(": ").append(message);
  return text;
}

}  // namespace tilvanego
