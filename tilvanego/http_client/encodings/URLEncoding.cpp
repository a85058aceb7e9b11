#include <tilvanego/http_client/encodings/URLEncoding.h>

#include <string>

#include <tilvanego/http_client/encodings/APIHelper.h>
#include <tilvanego/http_client/encodings/DownloadException.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

std::optional<URL> withoutQuery(const URL& url) {
  const auto query = url.encodedQuery();
  if (!query) return url;
  std::string text = url.absoluteString();
  const auto at = static_cast<std::size_t>(query->data() - url.absoluteString().data()) - 1;
  text.erase(at, query->size() + 1);
  const auto parsed = URL::parse(std::move(text));
  return parsed ? std::optional(*parsed) : std::nullopt;
}

}  // namespace

std::expected<URLRequest, Failure> URLEncoding::encode(URLRequest request,
                                                       const std::optional<Parameters>& parameters) const {
  if (!parameters) return request;
  if (!request.url) return std::unexpected(DownloadException(DownloadException::requestMissingURL));
  if (parameters->empty()) return request;
  const auto items = APIHelper::mapValuesToQueryItems(*parameters);
  request.url = items ? request.url->replacingQueryItems(*items) : withoutQuery(*request.url);
  return request;
}

}  // namespace tilvanego
