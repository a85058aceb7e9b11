#include <exception>
#include <optional>
#include <string_view>
#include <utility>

#include <tilvanego/http_client/BlockingCall.h>
#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/http_client/Once.h>
#include <tilvanego/http_client/OpenAPIInterceptor.h>
#include <tilvanego/http_client/URLSessionImplementations.h>
#include <tilvanego/http_client/encodings/DownloadException.h>
#include <tilvanego/http_client/encodings/FormDataEncoding.h>
#include <tilvanego/http_client/encodings/FormURLEncoding.h>
#include <tilvanego/http_client/encodings/JSONDataEncoding.h>
#include <tilvanego/http_client/encodings/OctetStreamEncoding.h>
#include <tilvanego/http_client/encodings/URLEncoding.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using detail::OnceCompletion;

/// Returns a completion that runs once, however often it is called. A retry passes such a completion on.
RequestBuilder::Completion runOnce(RequestBuilder::Completion completion) {
  if (completion.target<OnceCompletion>() != nullptr) return completion;
  detail::requireCompletion(completion != nullptr);
  return OnceCompletion(std::move(completion));
}

/// Called in a `catch` block around code that may have called the completion. Returns true if the completion
/// hasn't run, so that it must get the failure. If it has run, reports the exception as dropped, or rethrows
/// it if the completion threw it.
bool isPending(const RequestBuilder::Completion& completion, std::string_view step) {
  const OnceCompletion& once = *completion.target<OnceCompletion>();
  if (once.hasThrown()) throw;
  if (once.isUsed()) detail::reportDroppedException(step);
  return !once.isUsed();
}

using Completed = detail::Once<std::optional<Data>, URLResponsePointer, std::optional<Failure>>;

/// Called in a `catch` block around the start of a task.
void failToResume(const Completed& completed, const RequestBuilder::Completion& completion) {
  constexpr const char* step = "URLSessionDataTaskProtocol::resume";
  if (!isPending(completion, step)) return;
  if (!completed(std::nullopt, nullptr, detail::currentFailure())) detail::reportDroppedException(step);
}

void complete(const RequestBuilder::Completion& completion, RequestBuilder::Result result) try {
  completion(std::move(result));
} catch (...) {
  if (detail::isOwnThread()) detail::endForException("the completion of RequestBuilder::execute");
  throw;
}

/// Never throws: without memory to copy the cause, the cause is that lack of memory.
ErrorResponse errorOf(const URLSessionExchange& exchange, int code, const std::optional<Data>& data,
                      const Failure& failure) try {
  return ErrorResponse::error(code, data, exchange.response, failure);
} catch (...) {
  return ErrorResponse::error(code, data, exchange.response, ExceptionFailure(std::current_exception()));
}

const HTTPURLResponse* httpResponse(const URLSessionExchange& exchange) {
  return dynamic_cast<const HTTPURLResponse*>(exchange.response.get());
}

}  // namespace

std::shared_ptr<URLSessionRequestBuilder> URLSessionRequestBuilder::self() {
  return std::static_pointer_cast<URLSessionRequestBuilder>(shared_from_this());
}

std::shared_ptr<RequestTask> URLSessionRequestBuilder::execute(Completion given) {
  const Completion completion = runOnce(std::move(given));
  try {
    start(completion);
  } catch (...) {
    if (isPending(completion, "RequestBuilder::execute")) {
      failLater({}, ErrorResponse::requestRefused, detail::currentFailure(), completion);
    }
  }
  return requestTask;
}

void URLSessionRequestBuilder::start(const Completion& completion) {
  std::shared_ptr<URLSessionProtocol> urlSession;
  const auto request = build(urlSession);
  if (request) return intercept(*request, urlSession, completion);
  const auto url = URL::parse(URLString);
  refuse({.url = url ? *url : *URL::parse("about:blank"), .httpMethod = method}, urlSession, request.error(),
         completion);
}

std::expected<URLRequest, Failure> URLSessionRequestBuilder::build(
    std::shared_ptr<URLSessionProtocol>& urlSession) try {
  urlSession = createURLSession();
  const auto httpMethod = fromRawText<HTTPMethod>(method);
  if (!httpMethod) detail::fatalError("Unsupported Http method - " + method);
  const auto encoding = encodingFor(*httpMethod);
  return createURLRequest(urlSession, *httpMethod, *encoding, headers());
} catch (...) {
  return std::unexpected(detail::currentFailure());
}

void URLSessionRequestBuilder::intercept(const URLRequest& request,
                                         const std::shared_ptr<URLSessionProtocol>& urlSession,
                                         const Completion& completion) {
  using Response = std::expected<URLRequest, Failure>;
  std::optional<detail::Once<Response>> intercepted;
  try {
    intercepted.emplace(
        [builder = self(), built = request, urlSession, completion](const Response& response) {
          if (response) {
            builder->sendBy(urlSession, *response, completion);
          } else {
            builder->refuse(built, urlSession, response.error(), completion);
          }
        });
    apiConfiguration->interceptor()->intercept(request, urlSession, self(), *intercepted);
  } catch (...) {
    if (!isPending(completion, "OpenAPIInterceptor::intercept")) return;
    if (intercepted && intercepted->isUsed()) {
      detail::reportDroppedException("OpenAPIInterceptor::intercept");
    } else if (intercepted) {
      (*intercepted)(std::unexpected(detail::currentFailure()));
    } else {
      refuse(request, urlSession, detail::currentFailure(), completion);
    }
  }
}

void URLSessionRequestBuilder::refuse(const URLRequest& request,
                                      const std::shared_ptr<URLSessionProtocol>& urlSession,
                                      const Failure& failure, const Completion& completion) {
  failLater({request, urlSession, std::nullopt, nullptr}, ErrorResponse::requestRefused, failure, completion);
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

void URLSessionRequestBuilder::sendBy(const std::shared_ptr<URLSessionProtocol>& urlSession,
                                      const URLRequest& request, const Completion& completion) {
  std::optional<Completed> completed;
  std::shared_ptr<URLSessionDataTaskProtocol> task;
  try {
    completed.emplace([builder = self(), exchange = URLSessionExchange{request, urlSession, {}, nullptr},
                       completion](std::optional<Data> data, URLResponsePointer response,
                                   const std::optional<Failure>& error) mutable {
      exchange.data = std::move(data);
      exchange.response = std::move(response);
      builder->finished(exchange, error, completion);
    });
    task = urlSession->dataTaskFromProtocol(request, *completed);
    if (const auto ready = onProgressReady()) {
      detail::runListener("the onProgressReady of a request builder", [&] { ready(task->progress()); });
    }
    URLSessionRequestBuilderConfiguration::shared().credentialStore->setValue(task->taskIdentifier(),
                                                                              credential());
  } catch (...) {
    if (!isPending(completion, "the making of a task")) return;
    // If the session runs the task nevertheless, its result is ignored.
    if (completed && !completed->discard()) return detail::reportDroppedException("the making of a task");
    return refuse(request, urlSession, detail::currentFailure(), completion);
  }
  requestTask->set(task);
  detail::runListener("OpenAPIInterceptor::willSendRequest",
                      [&] { apiConfiguration->interceptor()->willSendRequest(request, urlSession, self()); });
  const auto caller = detail::callerOf(completion);
  try {
    if (!caller) return task->resume();
    caller->post([task, completed = *completed, completion, caller] {
      try {
        // The stop may have come before there was a task to cancel.
        if (caller->isStopped()) task->cancel();
        task->resumeHere();
      } catch (...) {
        failToResume(completed, completion);
      }
    });
  } catch (...) {
    failToResume(*completed, completion);
  }
}

void URLSessionRequestBuilder::finished(const URLSessionExchange& exchange,
                                        const std::optional<Failure>& error, const Completion& completion) {
  detail::runListener("URLSessionRequestBuilder::cleanUp", [&] { cleanUp(); });
  detail::runListener("OpenAPIInterceptor::didReceiveResponse", [&] {
    apiConfiguration->interceptor()->didReceiveResponse(exchange.request, exchange.session, self(),
                                                        exchange.data, exchange.response, error);
  });
  const auto* response = httpResponse(exchange);
  const int code = error      ? ErrorResponse::transportFailed
                   : response ? response->statusCode()
                              : ErrorResponse::noHTTPResponse;
  std::optional<Failure> failure;
  try {
    failure = failureOf(exchange, error);
    if (failure) {
      retry(exchange, code, *failure, completion);
    } else {
      processRequestResponse(exchange, *response, error, completion);
    }
  } catch (...) {
    if (!isPending(completion, "a step of a request builder")) return;
    if (failure) return failLater(exchange, code, *failure, completion);
    fail(exchange, code, exchange.data, detail::currentFailure(), completion);
  }
}

std::optional<Failure> URLSessionRequestBuilder::failureOf(const URLSessionExchange& exchange,
                                                           const std::optional<Failure>& error) const {
  using Cases = DecodableRequestBuilderError;
  if (error) return error;
  const auto* response = httpResponse(exchange);
  std::optional<Failure> failure;
  if (response == nullptr) {
    failure.emplace(Cases(Cases::NilHTTPResponse()));
  } else if (!apiConfiguration->successfulStatusCodeRange().contains(response->statusCode())) {
    failure.emplace(Cases(Cases::UnsuccessfulHTTPStatusCode()));
  }
  return failure;
}

void URLSessionRequestBuilder::retry(const URLSessionExchange& exchange, int code, const Failure& failure,
                                     const Completion& given) {
  // A builder class of the host may pass another completion than the one that it got.
  const Completion completion = runOnce(given);
  std::optional<detail::Once<OpenAPIInterceptorRetry>> decided;
  try {
    decided.emplace(
        [builder = self(), exchange, code, failure, completion](OpenAPIInterceptorRetry decision) {
          if (decision == OpenAPIInterceptorRetry::retry) {
            builder->executeAgain(exchange, completion);
          } else {
            builder->failLater(exchange, code, failure, completion);
          }
        });
    apiConfiguration->interceptor()->retry(exchange.request, exchange.session, self(), exchange.data,
                                           exchange.response, failure, *decided);
  } catch (...) {
    if (!isPending(completion, "OpenAPIInterceptor::retry")) return;
    detail::reportDroppedException("OpenAPIInterceptor::retry");
    if (decided) {
      (*decided)(OpenAPIInterceptorRetry::dontRetry);
    } else {
      failLater(exchange, code, failure, completion);
    }
  }
}

void URLSessionRequestBuilder::executeAgain(const URLSessionExchange& exchange,
                                            const Completion& completion) try {
  execute(completion);
} catch (...) {
  if (isPending(completion, "RequestBuilder::execute")) {
    refuse(exchange.request, exchange.session, detail::currentFailure(), completion);
  }
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
  // Allocations come before the callbacks.
  AnyResponse completed(response, std::any(), exchange.data);
  std::expected<std::any, Failure> result(std::in_place, std::move(body));
  detail::runListener("OpenAPIInterceptor::didComplete", [&] {
    apiConfiguration->interceptor()->didComplete(exchange.request, exchange.session, self(), exchange.data,
                                                 exchange.response, result);
  });
  completed.body = *std::move(result);
  complete(completion, std::move(completed));
}

void URLSessionRequestBuilder::fail(const URLSessionExchange& exchange, int code,
                                    const std::optional<Data>& data, const Failure& failure,
                                    const Completion& completion) {
  auto error = errorOf(exchange, code, data, failure);
  didFail(exchange, data, failure);
  complete(completion, std::unexpected(std::move(error)));
}

void URLSessionRequestBuilder::failLater(const URLSessionExchange& exchange, int code, const Failure& failure,
                                         const Completion& completion) {
  const auto error = errorOf(exchange, code, exchange.data, failure);
  didFail(exchange, exchange.data, failure);
  if (detail::callerOf(completion)) return complete(completion, std::unexpected(error));
  try {
    apiConfiguration->apiResponseQueue().post([completion, error] { completion(std::unexpected(error)); });
  } catch (...) {
    if (!isPending(completion, "MainQueue::post")) return;
    detail::reportDroppedException("MainQueue::post");
    complete(completion, std::unexpected(error));
  }
}

void URLSessionRequestBuilder::didFail(const URLSessionExchange& exchange, const std::optional<Data>& data,
                                       const Failure& failure) {
  detail::runListener("OpenAPIInterceptor::didComplete", [&] {
    apiConfiguration->interceptor()->didComplete(exchange.request, exchange.session, self(), data,
                                                 exchange.response, std::unexpected(failure));
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
  // A downloaded file may have any size.
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
  // `merge` keeps existing entries.
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
