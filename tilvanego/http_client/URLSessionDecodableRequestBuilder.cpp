#include <utility>

#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/http_client/FileDownload.h>
#include <tilvanego/http_client/URLSessionImplementations.h>
#include <tilvanego/http_client/encodings/DownloadException.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

std::string textOf(const std::optional<Data>& data) {
  return data && isValidUTF8(data->text()) ? std::string(data->text()) : std::string();
}

std::unexpected<Failure> downloadFailure(DownloadException::Case which) {
  return std::unexpected(Failure(DownloadException(which)));
}

}  // namespace

void URLSessionDecodableRequestBuilder::processRequestResponse(const URLSessionExchange& exchange,
                                                               const HTTPURLResponse& response,
                                                               const std::optional<Failure>& error,
                                                               const Completion& completion) {
  switch (bodyType.kind) {
    case BodyKind::text:
      return succeed(exchange, response, textOf(exchange.data), completion);
    case BodyKind::url:
      if (auto file = download(exchange, response, error)) {
        return succeed(exchange, response, *std::move(file), completion);
      } else {
        return fail(exchange, ErrorResponse::downloadFailed, exchange.data, file.error(), completion);
      }
    case BodyKind::empty:
      return succeed(exchange, response, bodyType.makeEmpty(), completion);
    case BodyKind::bytes:
      if (!exchange.data) detail::fatalError("No bytes for the response body type " + bodyType.name);
      return succeed(exchange, response, bodyType.fromBytes(*exchange.data), completion);
    case BodyKind::other:
      return decode(exchange, response, completion);
  }
}

std::expected<URL, Failure> URLSessionDecodableRequestBuilder::download(
    const URLSessionExchange& exchange, const HTTPURLResponse& response,
    const std::optional<Failure>& error) try {
  if (error) return downloadFailure(DownloadException::responseFailed);
  if (!exchange.data) return downloadFailure(DownloadException::responseDataMissing);
  const auto url = urlOf(exchange.request);
  if (!url) return std::unexpected(url.error());
  const auto path = pathOf(*url);
  if (!path) return std::unexpected(path.error());
  const auto field = response.headers().value("Content-Disposition");
  auto fileName = fileNameFrom(field ? std::optional(std::string(*field)) : std::nullopt);
  if (!fileName) {
    auto unique = detail::uniqueText();
    if (!unique) return std::unexpected(Failure(std::move(unique.error())));
    fileName = "tmp.OstrelTilvanePoiModels." + *unique;
  }
  const auto names = detail::downloadNames(*path, *fileName);
  if (!names) return std::unexpected(Failure(names.error()));
  auto file = detail::writeBelow(cachesDirectory(), *names, *exchange.data);
  if (!file) return std::unexpected(Failure(std::move(file.error())));
  return *std::move(file);
} catch (...) {
  return std::unexpected(detail::currentFailure());
}

void URLSessionDecodableRequestBuilder::decode(const URLSessionExchange& exchange,
                                               const HTTPURLResponse& response,
                                               const Completion& completion) {
  using Cases = DecodableRequestBuilderError;
  if (bodyType.decode == nullptr) {
    detail::fatalError("Unsupported Response Body Type - " + bodyType.name);
  }
  if (!exchange.data || exchange.data->empty()) {
    if (bodyType.makeNil != nullptr) return succeed(exchange, response, bodyType.makeNil(), completion);
    return fail(exchange, response.statusCode(), std::nullopt, Cases(Cases::EmptyDataResponse()), completion);
  }
  auto body = bodyType.decode(*apiConfiguration->codableHelper(), *exchange.data);
  if (body) return succeed(exchange, response, *std::move(body), completion);
  fail(exchange, response.statusCode(), exchange.data, body.error(), completion);
}

std::filesystem::path URLSessionDecodableRequestBuilder::cachesDirectory() const {
  return CachesDirectory::path();
}

}  // namespace tilvanego
