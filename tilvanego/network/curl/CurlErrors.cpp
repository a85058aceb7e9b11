// What a failure of libcurl is for the host.

#include <tilvanego/network/curl/Transfer.h>

namespace tilvanego::detail {
namespace {

/// Whether the text has a code of HTTP/2 with which a stream ends whose response is malformed (RFC 9113,
/// section 7). libcurl doesn't tell which side has sent the code.
bool namesViolation(std::string_view detail) {
  static constexpr std::array<std::string_view, 5> codes = {
      "PROTOCOL_ERROR", "FLOW_CONTROL_ERROR", "STREAM_CLOSED", "FRAME_SIZE_ERROR", "COMPRESSION_ERROR"};
  return std::ranges::any_of(codes, [&](std::string_view code) { return detail.contains(code); });
}

/// Whether the text has an alert of TLS about the client's certificate (RFC 8446, section 6.2). With TLS 1.3
/// it comes after the handshake, when libcurl already sends or receives. OpenSSL 3.0 and 3.5 write different
/// words before "alert".
bool namesClientCertificate(std::string_view detail) {
  static constexpr std::array<std::string_view, 5> alerts = {"alert certificate ", "alert bad certificate",
                                                             "alert unsupported certificate",
                                                             "alert unknown ca", "alert access denied"};
  return std::ranges::any_of(alerts, [&](std::string_view alert) { return detail.contains(alert); });
}

/// Whether a handshake has ended with the connection, without a word of TLS about the reason. The texts are
/// those of OpenSSL and of the versions of libcurl.
bool namesLoss(std::string_view detail) {
  static constexpr std::array<std::string_view, 4> texts = {"SSL_connect: ", "unexpected eof", "Recv failure",
                                                            "Send failure"};
  return std::ranges::any_of(texts, [&](std::string_view text) { return detail.contains(text); });
}

TransportError::Code codeOf(CURLcode code, std::string_view detail) {
  using enum TransportError::Code;
  if (namesClientCertificate(detail)) return clientCertificateRefused;
  switch (code) {
    // libcurl reports an invalid chunk with the code of a lost connection; only the text differs.
    case CURLE_RECV_ERROR:
      return detail.contains("chunk") ? badServerResponse : networkConnectionLost;
    case CURLE_OPERATION_TIMEDOUT:
      return timedOut;
    case CURLE_URL_MALFORMAT:
      return unsupportedURL;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
      return cannotFindHost;
    case CURLE_COULDNT_CONNECT:
    case CURLE_INTERFACE_FAILED:
    case CURLE_PROXY:
      return cannotConnectToHost;
    case CURLE_SSL_CONNECT_ERROR:
      return namesLoss(detail) ? cannotConnectToHost : secureConnectionFailed;
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_USE_SSL_FAILED:
      return secureConnectionFailed;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return serverCertificateUntrusted;
    case CURLE_SSL_CLIENTCERT:
      return clientCertificateRefused;
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
      return serverKeyNotPinned;
    case CURLE_SEND_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    // Also a server that ends its connection properly.
    case CURLE_HTTP2:
      return networkConnectionLost;
    case CURLE_HTTP2_STREAM:
      return namesViolation(detail) ? badServerResponse : networkConnectionLost;
    // The scheme was checked before: libcurl uses this code for a response without a status line.
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
    // And this one for a first field that is folded and for a trailer without a colon.
    case CURLE_BAD_FUNCTION_ARGUMENT:
    case CURLE_FILESIZE_EXCEEDED:
      return badServerResponse;
    default:
      return unknown;
  }
}

}  // namespace

TransportError transportError(CURLcode code, std::string_view detail) {
  if (code == CURLE_SSL_PINNEDPUBKEYNOTMATCH) {
    detail =
        "the server's public key is none of tls.pinnedKeys: if the server has a new key that you trust, pin "
        "it too";
  }
  // A text with "@" may contain the URL of a proxy with user and password; one with a line break contains the
  // environment's or the host's text as it is.
  const bool mayBeShown = !detail.empty() && std::ranges::none_of(detail, [](char c) {
    return c == '@' || c == '\r' || c == '\n';
  });
  return {codeOf(code, detail), mayBeShown ? std::string(detail) : std::string(curl_easy_strerror(code))};
}

}  // namespace tilvanego::detail
