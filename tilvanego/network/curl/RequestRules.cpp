#include <tilvanego/network/curl/RequestRules.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/network/curl/Origins.h>
#include <tilvanego/values/ASCII.h>

namespace tilvanego::detail {
namespace {

using Code = TransportError::Code;

std::unexpected<TransportError> refused(Code code, std::string message) {
  return std::unexpected(TransportError{code, std::move(message)});
}

/// A name that isn't a token may contain any byte, also line breaks: other characters are shown as "?".
std::string shown(std::string_view name) {
  std::string text;
  for (const char c : name.substr(0, 80)) text.push_back(isTokenCharacter(c) || c == ' ' ? c : '?');
  return text;
}

/// libcurl sends a head of at most 1 MiB and reports a longer one as a lack of memory.
constexpr std::size_t maximumHeadSize = 1'000'000;

std::expected<void, TransportError> checkHeaders(const URLRequest& request) {
  std::size_t size = request.url->absoluteString().size();
  for (const auto& [name, value] : request.headers.fields()) {
    size += name.size() + value.size() + std::string_view(": \r\n").size();
    if (!isToken(name)) {
      return refused(Code::invalidRequest, "the header name \"" + shown(name) + "\" is no token of RFC 9110");
    }
    if (value.contains('\r') || value.contains('\n') || value.contains('\0')) {
      return refused(Code::invalidRequest,
                     "the value of the header \"" + name + "\" has a line break or NUL");
    }
  }
  if (size > maximumHeadSize) return refused(Code::invalidRequest, "URL and header are longer than 1 MB");
  return {};
}

void removeBody(URLRequest& request) {
  request.httpBody.reset();
  request.bodySource = nullptr;
  std::vector<std::string> names;
  for (const auto& field : request.headers.fields()) {
    if (equalIgnoringASCIICase(std::string_view(field.name).substr(0, 8), "content-"))
      names.push_back(field.name);
  }
  for (const auto& name : names) request.headers.remove(name);
}

/// libcurl reads "http:///x" and "///x" as URLs of the host x; by RFC 3986 they have no host.
bool lacksHost(std::string_view locationField) {
  const auto reference = URL::parse(locationField);
  if (!reference) return false;
  const bool namesScheme = reference->scheme().has_value();
  if (namesScheme && !isHTTP(*reference)) return false;
  const auto host = reference->writtenHost();
  return host ? host->empty() : namesScheme;
}

bool turnsIntoGet(const std::string& method, int statusCode) {
  if (statusCode == 303) return method != "GET" && method != "HEAD";
  return (statusCode == 301 || statusCode == 302) && method == "POST";
}

}  // namespace

std::expected<void, TransportError> checkRequest(const URLRequest& request) {
  if (!request.url) return refused(Code::unsupportedURL, "the request has no URL");
  if (!hasOrigin(*request.url)) {
    return refused(Code::unsupportedURL, "only http and https URLs with a host can be sent to");
  }
  if (!isToken(request.httpMethod)) {
    return refused(Code::invalidRequest,
                   "the method \"" + shown(request.httpMethod) + "\" is no token of RFC 9110");
  }
  if (request.bodySource && request.httpBody) {
    return refused(Code::invalidRequest, "a request can't have a body and the source of another");
  }
  if (request.httpMethod == "HEAD" &&
      (request.bodySource || (request.httpBody && !request.httpBody->empty()))) {
    return refused(Code::invalidRequest, "a HEAD request can't have a body");
  }
  return checkHeaders(request);
}

std::expected<std::optional<URLRequest>, TransportError> redirectedRequest(const URLRequest& request,
                                                                           int statusCode,
                                                                           std::string_view field,
                                                                           std::string_view target) {
  static constexpr std::array statusCodes = {301, 302, 303, 307, 308};
  if (std::ranges::find(statusCodes, statusCode) == statusCodes.end()) return std::nullopt;
  if (lacksHost(field)) return refused(Code::unsupportedURL, "the server redirects to a URL without a host");
  auto url = URL::parse(target);
  // The user and password of a redirect are the server's choice, not the host's.
  if (url) url = URL::parse(textWithoutUser(*url));
  if (!url) return std::nullopt;

  const auto from = originOf(*request.url);
  const auto to = originOf(*url);
  if (!to) return refused(Code::unsupportedURL, "the server redirects to a URL that isn't http or https");
  if (isSecure(*request.url) && !isSecure(*url)) {
    return refused(Code::redirectRefused, "the server redirects from https to http, to " + to->host);
  }

  URLRequest next = request;
  next.url = std::move(*url);
  if (turnsIntoGet(request.httpMethod, statusCode)) {
    next.httpMethod = "GET";
    removeBody(next);
  }
  if (from != to) {
    for (const auto* name : {"Authorization", "Cookie", "Proxy-Authorization", "Host"})
      next.headers.remove(name);
  }
  return next;
}

}  // namespace tilvanego::detail
