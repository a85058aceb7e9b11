#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/http_client/DownloadException.h>
#include <tilvanego/http_client/FatalError.h>
#include <tilvanego/http_client/FormDataEncoding.h>
#include <tilvanego/http_client/FormURLEncoding.h>
#include <tilvanego/http_client/JSONDataEncoding.h>
#include <tilvanego/http_client/OctetStreamEncoding.h>
#include <tilvanego/http_client/Once.h>
#include <tilvanego/http_client/OpenAPIInterceptor.h>
#include <tilvanego/http_client/URLEncoding.h>
#include <tilvanego/http_client/URLSessionImplementations.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/values/Text.h>

#include <algorithm>
#include <utility>

namespace tilvanego {

std::shared_ptr<URLSessionRequestBuilder> URLSessionRequestBuilder::self() {
  return std::static_pointer_cast<URLSessionRequestBuilder>(shared_from_this());
}

std::shared_ptr<RequestTask> URLSessionRequestBuilder::execute(Completion completion) {
  const auto urlSession = createURLSession();
  const auto httpMethod = fromRawText<HTTPMethod>(method);
  if (!httpMethod) detail::fatalError("Unsupported Http method - " + method);
  const auto encoding = encodingFor(*httpMethod);
  auto request = createURLRequest(urlSession, *httpMethod, *encoding, headers());
  if (!request) {
    const auto url = URL::parse(URLString);
    const URLRequest fallback{.url = url ? *url : *URL::parse("about:blank"), .httpMethod = method};
    failLater({fallback, urlSession, std::nullopt, nullptr}, ErrorResponse::requestRefused, request.error(),
              completion);
    return requestTask;
  }
  OpenAPIInterceptor::InterceptCompletion intercepted =
      [builder = self(), built = *request, urlSession,
       completion](std::expected<URLRequest, Failure> answer) {
        if (answer) {
          builder->send(*answer, urlSession, completion);
        } else {
          builder->failLater({built, urlSession, std::nullopt, nullptr}, ErrorResponse::requestRefused,
                             answer.error(), completion);
        }
      };
  apiConfiguration->interceptor()->intercept(*request, urlSession, self(),
                                             detail::once(std::move(intercepted)));
  return requestTask;
}

std::unique_ptr<ParameterEncoding> URLSessionRequestBuilder::encodingFor(HTTPMethod httpMethod) {
  if (httpMethod == HTTPMethod::get || httpMethod == HTTPMethod::head) return std::make_unique<URLEncoding>();
  const Headers fields = headers();
  const auto found = fields.find("Content-Type");
  const std::string contentType = found != fields.end() ? found->second : "application/json";
  const auto startsWith = [&](std::string_view start) { return contentType.starts_with(start); };
  if (startsWith("application/") && contentType.find("json") != contentType.npos) {
    return std::make_unique<JSONDataEncoding>();
  }
  if (startsWith("multipart/form-data")) {
    return std::make_unique<FormDataEncoding>(
        [this](const URL& fileURL) { return contentTypeForFormPart(fileURL); });
  }
  if (startsWith("application/x-www-form-urlencoded")) return std::make_unique<FormURLEncoding>();
  if (startsWith("application/octet-stream") || startsWith("image/")) {
    return std::make_unique<OctetStreamEncoding>();
  }
  detail::fatalError("Unsupported Media Type - " + contentType);
}

void URLSessionRequestBuilder::send(const URLRequest& request,
                                    const std::shared_ptr<URLSessionProtocol>& urlSession,
                                    const Completion& completion) {
  DataTaskCompletion completed = [builder = self(), request, urlSession, completion](
                                     std::optional<Data> data, URLResponsePointer response,
                                     std::optional<Failure> error) {
    builder->finished({request, urlSession, std::move(data), std::move(response)}, error, completion);
  };
  const auto task = urlSession->dataTaskFromProtocol(request, detail::once(std::move(completed)));
  if (const auto ready = onProgressReady()) ready(task->progress());
  URLSessionRequestBuilderConfiguration::shared().credentialStore->setValue(task->taskIdentifier(),
                                                                            credential());
  requestTask->set(task);
  apiConfiguration->interceptor()->willSendRequest(request, urlSession, self());
  task->resume();
}

void URLSessionRequestBuilder::finished(const URLSessionExchange& exchange,
                                        const std::optional<Failure>& error, const Completion& completion) {
  using Cases = DecodableRequestBuilderError;
  cleanUp();
  apiConfiguration->interceptor()->didReceiveResponse(exchange.request, exchange.session, self(),
                                                      exchange.data, exchange.response, error);
  if (error) return retry(exchange, ErrorResponse::transportFailed, *error, completion);
  const auto* response = dynamic_cast<const HTTPURLResponse*>(exchange.response.get());
  if (response == nullptr) {
    return retry(exchange, ErrorResponse::noHTTPResponse, Cases(Cases::NilHTTPResponse()), completion);
  }
  if (apiConfiguration->successfulStatusCodeRange().contains(response->statusCode())) {
    return processRequestResponse(exchange, *response, error, completion);
  }
  retry(exchange, response->statusCode(), Cases(Cases::UnsuccessfulHTTPStatusCode()), completion);
}

void URLSessionRequestBuilder::retry(const URLSessionExchange& exchange, int code, const Failure& failure,
                                     const Completion& completion) {
  OpenAPIInterceptor::RetryCompletion answered = [builder = self(), exchange, code, failure,
                                                  completion](OpenAPIInterceptorRetry answer) {
    if (answer == OpenAPIInterceptorRetry::retry) {
      builder->execute(completion);
    } else {
      builder->failLater(exchange, code, failure, completion);
    }
  };
  apiConfiguration->interceptor()->retry(exchange.request, exchange.session, self(), exchange.data,
                                         exchange.response, failure, detail::once(std::move(answered)));
}

void URLSessionRequestBuilder::processRequestResponse(const URLSessionExchange& exchange,
                                                      const HTTPURLResponse& response,
                                                      const std::optional<Failure>&,
                                                      const Completion& completion) {
  if (bodyType.kind != BodyKind::empty) {
    detail::fatalError("Unsupported Response Body Type - " + bodyType.name);
  }
  succeed(exchange, response, bodyType.makeEmpty(), completion);
}

void URLSessionRequestBuilder::succeed(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                                       std::any body, const Completion& completion) {
  apiConfiguration->interceptor()->didComplete(exchange.request, exchange.session, self(), exchange.data,
                                               exchange.response, body);
  completion(AnyResponse(response, std::move(body), exchange.data));
}

void URLSessionRequestBuilder::fail(const URLSessionExchange& exchange, int code,
                                    const std::optional<Data>& data, const Failure& failure,
                                    const Completion& completion) {
  apiConfiguration->interceptor()->didComplete(exchange.request, exchange.session, self(), data,
                                               exchange.response, std::unexpected(failure));
  completion(std::unexpected(ErrorResponse::error(code, data, exchange.response, failure)));
}

void URLSessionRequestBuilder::failLater(const URLSessionExchange& exchange, int code, const Failure& failure,
                                         const Completion& completion) {
  apiConfiguration->interceptor()->didComplete(exchange.request, exchange.session, self(), exchange.data,
                                               exchange.response, std::unexpected(failure));
  apiConfiguration->apiResponseQueue().post(
      [completion, error = ErrorResponse::error(code, exchange.data, exchange.response, failure)] {
        completion(std::unexpected(error));
      });
}

std::shared_ptr<URLSessionProtocol> URLSessionRequestBuilder::createURLSession() {
  return URLSessionRequestBuilderConfiguration::shared().defaultURLSession;
}

std::optional<std::string> URLSessionRequestBuilder::contentTypeForFormPart(const URL&) {
  return std::nullopt;
}

std::expected<URLRequest, Failure> URLSessionRequestBuilder::createURLRequest(
    const std::shared_ptr<URLSessionProtocol>&, HTTPMethod httpMethod, const ParameterEncoding& encoding,
    const Headers&) {
  auto url = URL::parse(URLString);
  if (!url) return std::unexpected(DownloadException(DownloadException::requestMissingURL));
  URLRequest request{.url = *std::move(url), .httpMethod = std::string(rawText(httpMethod))};
  // A file may be of any size.
  if (bodyType.kind == BodyKind::url) request.maximumBodySize = 0;
  for (auto& [name, value] : buildHeaders()) request.headers.setValue(name, value);
  return encoding.encode(std::move(request), parameters);
}

void URLSessionRequestBuilder::cleanUp() {
  if (const auto task = requestTask->get()) {
    URLSessionRequestBuilderConfiguration::shared().credentialStore->setValue(task->taskIdentifier(),
                                                                              std::nullopt);
  }
}

RequestBuilder::Headers URLSessionRequestBuilder::buildHeaders() {
  Headers fields = headers();
  // Those that are there already stay.
  fields.merge(apiConfiguration->customHeaders());
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
  // The piece between two semicolons that holds the key, without it.
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
