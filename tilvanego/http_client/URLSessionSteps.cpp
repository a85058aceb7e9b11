// The steps of a request builder that a derived class may override.

#include <chrono>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include <tilvanego/http_client/URLSessionImplementations.h>
#include <tilvanego/http_client/encodings/DownloadException.h>
#include <tilvanego/values/QueryReplacement.h>
#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

void limit(URLRequest& request, const RequestLimits& limits) {
  if (limits.silence) request.timeoutInterval = std::chrono::duration<double>(*limits.silence).count();
  if (limits.largestBody) request.maximumBodySize = limits.largestBody;
  request.followsRedirects = limits.followsRedirects.value_or(request.followsRedirects);
}

}  // namespace

std::shared_ptr<URLSessionProtocol> URLSessionRequestBuilder::createURLSession() {
  return URLSessionRequestBuilderConfiguration::shared().defaultURLSession;
}

std::optional<std::string> URLSessionRequestBuilder::contentTypeForFormPart(const URL&) {
  return std::nullopt;
}

std::expected<URLRequest, Failure> URLSessionRequestBuilder::createURLRequest(
    const std::shared_ptr<URLSessionProtocol>&, HTTPMethod httpMethod, const ParameterEncoding& encoding,
    const Headers&) {
  const auto* const draft = draft_.get();
  auto url = draft ? std::nullopt : parsedURL();
  if (!draft && !url) return std::unexpected(DownloadException(DownloadException::requestMissingURL));
  const auto given = limits().orElse(apiConfiguration->limits());
  const Headers fields = buildHeaders();
  if (draft && draft->isFor(httpMethod, fields, given)) return encoding.encode(draft->request, parameters);
  URLRequest request;
  request.url = std::move(url);
  if (draft) request.url = draft->request.url;
  request.httpMethod = rawText(httpMethod);
  // A downloaded file may have any size.
  if (bodyType.kind == BodyKind::url) request.maximumBodySize = 0;
  limit(request, given);
  // Room for the fields that an encoding and an interceptor add.
  if (!fields.empty()) request.headers.reserve(fields.size() + 2);
  for (const auto& [name, value] : fields) request.headers.setValue(name, value);
  // Most builders send one request.
  if (!draft && wasBuilt_.exchange(true, std::memory_order_relaxed)) {
    draft_.keep(std::make_unique<Draft>(fields, given, request));
  }
  return encoding.encode(std::move(request), parameters);
}

bool URLSessionRequestBuilder::Draft::isFor(HTTPMethod method, const Headers& otherFields,
                                            const RequestLimits& otherLimits) const {
  return request.httpMethod == rawText(method) && fields == otherFields && limits == otherLimits;
}

// No value if the text isn't a URL.
std::optional<URL> URLSessionRequestBuilder::parsedURL() {
  std::string text;
  text.reserve(URLString.size() + support::QueryReplacement::roomFor(parameters ? parameters->size() : 0));
  text = URLString;
  auto url = URL::parse(std::move(text));
  return url ? std::optional(*std::move(url)) : std::nullopt;
}

void URLSessionRequestBuilder::cleanUp() {
  auto& credentials = *URLSessionRequestBuilderConfiguration::shared().credentialStore;
  if (credentials.isEmpty()) return;
  if (const auto task = requestTask->get()) credentials.setValue(task->taskIdentifier(), std::nullopt);
}

RequestBuilder::Headers URLSessionRequestBuilder::buildHeaders() {
  Headers fields = headers();
  for (const auto& [name, value] : apiConfiguration->customHeaders()) {
    // Keeps an existing entry.
    fields.emplace(name, value);
  }
  return fields;
}

std::expected<std::string, Failure> URLSessionRequestBuilder::pathOf(const URL& url) {
  std::string path = url.path();
  if (path.starts_with('/')) path.erase(0, 1);
  return path;
}

std::optional<std::string> URLSessionRequestBuilder::fileNameFrom(
    const std::optional<std::string>& contentDisposition) {
  constexpr std::string_view key = "filename=";
  if (!contentDisposition) return std::nullopt;
  const std::size_t found = contentDisposition->find(key);
  if (found == std::string::npos) return std::nullopt;
  // The part between two semicolons that contains the key, without the key.
  const std::size_t before = contentDisposition->rfind(';', found);
  const std::size_t start = before == std::string::npos ? 0 : before + 1;
  std::string piece = contentDisposition->substr(start, contentDisposition->find(';', found) - start);
  piece.erase(found - start, key.size());
  std::erase(piece, '"');
  return std::string(trimmed(piece));
}

std::expected<URL, Failure> URLSessionRequestBuilder::urlOf(const URLRequest& request) {
  if (!request.url) return std::unexpected(DownloadException(DownloadException::requestMissingURL));
  return *request.url;
}

}  // namespace tilvanego
