#include <tilvanego/network/TransferMetrics.h>

#include <tilvanego/network/TransportError.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/CaseNames.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

std::string nameOf(TransportError::Code code) {
  return std::string(detail::enumeratorNames<TransportError::Code>.names[static_cast<std::size_t>(code)]);
}

}  // namespace

std::vector<std::pair<std::string, std::string>> TransferReport::attributes() const {
  std::vector<std::pair<std::string, std::string>> list{{"http.request.method", request.httpMethod}};
  if (request.url) {
    const auto scheme = detail::asciiLowercased(request.url->scheme().value_or(""));
    list.emplace_back("url.scheme", scheme);
    list.emplace_back("server.address", request.url->writtenHost().value_or(""));
    list.emplace_back("server.port",
                      std::to_string(request.url->port().value_or(scheme == "https" ? 443 : 80)));
  }
  const auto* const http = dynamic_cast<const HTTPURLResponse*>(response.get());
  if (http) list.emplace_back("http.response.status_code", std::to_string(http->statusCode()));
  if (!metrics.protocolVersion.empty())
    list.emplace_back("network.protocol.version", metrics.protocolVersion);
  if (metrics.tries > 1) list.emplace_back("http.request.resend_count", std::to_string(metrics.tries - 1));
  if (error) {
    const auto* const cause = error->as<TransportError>();
    list.emplace_back("error.type", cause ? nameOf(cause->code) : "_OTHER");
  } else if (http && http->statusCode() >= 400) {
    list.emplace_back("error.type", std::to_string(http->statusCode()));
  }
  return list;
}

}  // namespace tilvanego
