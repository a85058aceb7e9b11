#include <atomic>
#include <chrono>
#include <exception>
#include <new>
#include <optional>
#include <string_view>
#include <typeinfo>
#include <utility>

#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/http_client/Once.h>
#include <tilvanego/http_client/OpenAPIInterceptor.h>
#include <tilvanego/http_client/URLSessionImplementations.h>
#include <tilvanego/http_client/WholeCall.h>
#include <tilvanego/http_client/encodings/FormDataEncoding.h>
#include <tilvanego/http_client/encodings/FormURLEncoding.h>
#include <tilvanego/http_client/encodings/JSONDataEncoding.h>
#include <tilvanego/http_client/encodings/OctetStreamEncoding.h>
#include <tilvanego/http_client/encodings/URLEncoding.h>
#include <tilvanego/network/BodyStream.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/network/SharedRequest.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/MainQueue.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr const char* startOfTask = "URLSessionDataTaskProtocol::resume";
constexpr const char* didComplete = "OpenAPIInterceptor::didComplete";

detail::WholeCall::Deadline deadlineFromNow(const RequestLimits& limits) {
  // A longer time might have no end in the clock's units.
  constexpr std::chrono::milliseconds longest = std::chrono::years(10);
  const auto time = limits.wholeRequest.value_or(longest);
  if (time <= time.zero() || time >= longest) return std::nullopt;
  return std::chrono::steady_clock::now() + time;
}

/// An encoding without settings, which all requests share. Allocates nothing.
template <typename Encoding>
std::shared_ptr<const ParameterEncoding> encodingOf() {
  static constinit const Encoding encoding;
  return {std::shared_ptr<void>(), &encoding};
}

/// Calls `tell` with the interceptor, unless that is the default one, which does nothing.
template <typename Tell>
void tellInterceptor(const OstrelTilvanePoiModelsAPIConfiguration& configuration, const char* step,
                     Tell&& tell) {
  if (configuration.hasDefaultInterceptor()) return;
  detail::runListener(step, [&] { std::forward<Tell>(tell)(*configuration.interceptor()); });
}

void complete(const RequestBuilder::Completion& completion, RequestBuilder::Result&& result) try {
  // Without the copy that the call of a function object takes.
  if (const auto* const own = completion.target<detail::CallCompletion>()) return (*own)(std::move(result));
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

/// Without the request if there is no memory for its copy: the failure must come through.
URLSessionExchange unansweredExchange(const URLRequest& request,
                                      const std::shared_ptr<URLSessionProtocol>& urlSession) noexcept try {
  return {request, urlSession, std::nullopt, nullptr};
} catch (const std::bad_alloc&) {
  return {{}, urlSession, std::nullopt, nullptr};
}

const HTTPURLResponse* httpResponse(const URLSessionExchange& exchange) {
  const auto* const response = exchange.response.get();
  // The class is final.
  return response && typeid(*response) == typeid(HTTPURLResponse)
             ? static_cast<const HTTPURLResponse*>(response)
             : nullptr;
}

}  // namespace

std::shared_ptr<RequestTask> URLSessionRequestBuilder::execute(Completion given) {
  Completion completion = runOnce(std::move(given));
  const auto call = detail::callOf(completion);
  try {
    if (call->tries == 0) call->deadline = deadlineFromNow(limits().orElse(apiConfiguration->limits()));
    start(std::move(completion), call);
  } catch (...) {
    if (detail::isPending(*call, "RequestBuilder::execute")) {
      failLater({}, ErrorResponse::requestRefused, detail::currentFailure(), detail::CallCompletion(call));
    }
  }
  return requestTask;
}

/// One try of a call, which the callbacks of interceptor and session share. The host may keep these longer
/// than the request lasts: its own objects are released at the end.
struct URLSessionRequestBuilder::Try final : detail::BlockingCall::Attempt {
  Try(std::shared_ptr<RequestBuilder> owner, Completion&& given,
      const std::shared_ptr<detail::WholeCall>& whole, URLRequest&& request,
      std::shared_ptr<URLSessionProtocol>&& session)
      : builder(std::move(owner)),
        completion(std::move(given)),
        call(whole),
        exchange{std::move(request), std::move(session), {}, nullptr} {}

  [[nodiscard]] URLSessionRequestBuilder& steps() const {
    return static_cast<URLSessionRequestBuilder&>(*builder);
  }
  /// For a thread that waits, whose completion doesn't throw.
  void failToStart() noexcept override { URLSessionRequestBuilder::failToStart(*this); }

  /// A `URLSessionRequestBuilder`.
  std::shared_ptr<RequestBuilder> builder;
  Completion completion;
  std::shared_ptr<detail::WholeCall> call;
  /// As the interceptor gets it, if there is one.
  std::optional<URLRequest> built;
  /// Doesn't change any more once there is a task.
  URLSessionExchange exchange;
  std::atomic<bool> isFinished = false;
};

void URLSessionRequestBuilder::start(Completion completion, const std::shared_ptr<detail::WholeCall>& call) {
  std::shared_ptr<URLSessionProtocol> urlSession;
  auto request = build(urlSession);
  if (!request) {
    const auto url = URL::parse(URLString);
    return refuse({.url = url ? *url : *URL::parse("about:blank"), .httpMethod = method}, urlSession,
                  request.error(), completion);
  }
  request->deadline = call->deadline;
  request->tryNumber = ++call->tries;
  const auto builder = shared_from_this();
  intercept(
      std::make_shared<Try>(builder, std::move(completion), call, *std::move(request), std::move(urlSession)),
      builder, *call);
}

std::expected<URLRequest, Failure> URLSessionRequestBuilder::build(
    std::shared_ptr<URLSessionProtocol>& urlSession) try {
  urlSession = createURLSession();
  const auto httpMethod = fromRawText<HTTPMethod>(method);
  if (!httpMethod) detail::fatalError("Unsupported Http method - " + method);
  const Headers fields = headers();
  auto source = bodySource();
  const auto encoding = source ? encodingOf<URLEncoding>() : encodingFor(*httpMethod, fields);
  auto request = createURLRequest(urlSession, *httpMethod, *encoding, fields);
  if (!request) return request;
  request->bodySource = std::move(source);
  request->bodySink = bodySink();
  if (request->bodySink) request->bodySink->prepare(request->headers);
  return request;
} catch (...) {
  return std::unexpected(detail::currentFailure());
}

void URLSessionRequestBuilder::intercept(const std::shared_ptr<Try>& attempt,
                                         const std::shared_ptr<RequestBuilder>& builder,
                                         const detail::WholeCall& call) {
  if (apiConfiguration->hasDefaultInterceptor()) return sendBySession(attempt);
  const auto& built = attempt->built.emplace(std::move(attempt->exchange.request));
  using Response = std::expected<URLRequest, Failure>;
  const detail::Once<Response> intercepted([own = attempt](Response response) {
    if (response) {
      own->exchange.request = *std::move(response);
      return own->steps().sendBySession(own);
    }
    own->steps().refuse(*own->built, own->exchange.session, response.error(), own->completion);
  });
  try {
    apiConfiguration->interceptor()->intercept(built, attempt->exchange.session, builder, intercepted);
  } catch (...) {
    if (!detail::isPending(call, "OpenAPIInterceptor::intercept")) return;
    if (intercepted.isUsed()) {
      detail::reportDroppedException("OpenAPIInterceptor::intercept");
    } else {
      intercepted(std::unexpected(detail::currentFailure()));
    }
  }
}

void URLSessionRequestBuilder::refuse(const URLRequest& request,
                                      const std::shared_ptr<URLSessionProtocol>& urlSession,
                                      const Failure& failure, const Completion& completion) {
  failLater(unansweredExchange(request, urlSession), ErrorResponse::requestRefused, failure, completion);
}

std::shared_ptr<const ParameterEncoding> URLSessionRequestBuilder::encodingFor(HTTPMethod httpMethod,
                                                                               const Headers& fields) {
  if (httpMethod == HTTPMethod::get || httpMethod == HTTPMethod::head) return encodingOf<URLEncoding>();
  const auto found = fields.find("Content-Type");
  const auto contentType = found != fields.end() ? std::string_view(found->second) : "application/json";
  const auto startsWith = [&](std::string_view start) { return contentType.starts_with(start); };
  if (startsWith("application/") && contentType.contains("json")) return encodingOf<JSONDataEncoding>();
  if (startsWith("multipart/form-data")) {
    return std::make_shared<FormDataEncoding>(
        [this](const URL& fileURL) { return contentTypeForFormPart(fileURL); });
  }
  if (startsWith("application/x-www-form-urlencoded")) return encodingOf<FormURLEncoding>();
  if (startsWith("application/octet-stream") || startsWith("image/")) {
    return encodingOf<OctetStreamEncoding>();
  }
  detail::fatalError("Unsupported Media Type - " + std::string(contentType));
}

void URLSessionRequestBuilder::sendBySession(const std::shared_ptr<Try>& attempt) {
  // Once there is a task, another thread may end the try.
  const auto builder = attempt->builder;
  const auto call = attempt->call;
  const auto& request = attempt->exchange.request;
  const auto& urlSession = attempt->exchange.session;
  std::shared_ptr<URLSessionDataTaskProtocol> task;
  try {
    task = detail::dataTaskSharing(*urlSession, {attempt, &request},
                                   [own = attempt](std::optional<Data> data, URLResponsePointer response,
                                                   const std::optional<Failure>& error) {
                                     // The session may destroy this function meanwhile.
                                     const auto held = own;
                                     finish(*held, std::move(data), std::move(response), error);
                                   });
    if (const auto ready = onProgressReady()) {
      detail::runListener("the onProgressReady of a request builder", [&] { ready(task->progress()); });
    }
    URLSessionRequestBuilderConfiguration::shared().credentialStore->setValue(task->taskIdentifier(),
                                                                              credential());
  } catch (...) {
    if (!detail::isPending(*call, "the making of a task")) return;
    // If the session runs the task nevertheless, its result is ignored.
    if (attempt->isFinished.exchange(true)) {
      return detail::reportDroppedException("the making of a task");
    }
    attempt->builder = nullptr;
    attempt->call = nullptr;
    return refuse(request, urlSession, detail::currentFailure(), std::exchange(attempt->completion, nullptr));
  }
  requestTask->set(task);
  // Cancelled before there was this task.
  if (call->cancelled) detail::runListener("URLSessionDataTaskProtocol::cancel", [&] { task->cancel(); });
  tellInterceptor(*apiConfiguration, "OpenAPIInterceptor::willSendRequest",
                  [&](OpenAPIInterceptor& told) { told.willSendRequest(request, urlSession, builder); });
  try {
    if (!call->caller) return task->resume();
    call->caller->start(attempt, task);
  } catch (...) {
    failToResume(*attempt, *call);
  }
}

// Called in a `catch` block around the start of a task.
void URLSessionRequestBuilder::failToResume(Try& attempt, const detail::WholeCall& call) {
  if (detail::isPending(call, startOfTask)) failToStart(attempt);
}

void URLSessionRequestBuilder::failToStart(Try& attempt) {
  if (finish(attempt, std::nullopt, nullptr, detail::currentFailure())) return;
  detail::reportDroppedException(startOfTask);
}

// Returns false if the try has ended before.
bool URLSessionRequestBuilder::finish(Try& own, std::optional<Data>&& data, URLResponsePointer&& response,
                                      const std::optional<Failure>& error) {
  if (own.isFinished.exchange(true)) return false;
  const auto builder = std::exchange(own.builder, nullptr);
  const auto completion = std::exchange(own.completion, nullptr);
  // A call ends when nobody holds it.
  own.call = nullptr;
  own.exchange.data = std::move(data);
  own.exchange.response = std::move(response);
  static_cast<URLSessionRequestBuilder&>(*builder).finished(own.exchange, builder, error, completion);
  own.exchange.data.reset();
  own.exchange.response.reset();
  return true;
}

void URLSessionRequestBuilder::finished(const URLSessionExchange& exchange,
                                        const std::shared_ptr<RequestBuilder>& builder,
                                        const std::optional<Failure>& error, const Completion& completion) {
  detail::runListener("URLSessionRequestBuilder::cleanUp", [&] { cleanUp(); });
  tellInterceptor(*apiConfiguration, "OpenAPIInterceptor::didReceiveResponse", [&](OpenAPIInterceptor& told) {
    told.didReceiveResponse(exchange.request, exchange.session, builder, exchange.data, exchange.response,
                            error);
  });
  const auto* response = httpResponse(exchange);
  const int code = error      ? ErrorResponse::transportFailed
                   : response ? response->statusCode()
                              : ErrorResponse::noHTTPResponse;
  std::optional<Failure> failure;
  try {
    failure = failureOf(response, error);
    if (const auto& sink = exchange.request.bodySink; sink && failure && !error && response) {
      detail::runListener("BodySink::refused", [&] { sink->refused(*response); });
    }
    if (failure) {
      retry(exchange, code, *failure, completion);
    } else {
      processRequestResponse(exchange, *response, error, completion);
    }
  } catch (...) {
    if (!detail::isPending(*detail::callOf(completion), "a step of a request builder")) return;
    if (failure) return failLater(exchange, code, *failure, completion);
    fail(exchange, code, exchange.data, detail::currentFailure(), completion);
  }
}

std::optional<Failure> URLSessionRequestBuilder::failureOf(const HTTPURLResponse* response,
                                                           const std::optional<Failure>& error) const {
  using Cases = DecodableRequestBuilderError;
  if (error) return error;
  std::optional<Failure> failure;
  if (response == nullptr) {
    failure.emplace(Cases(Cases::NilHTTPResponse()));
  } else if (!apiConfiguration->successfulStatusCodeRange().contains(response->statusCode())) {
    failure.emplace(Cases(Cases::UnsuccessfulHTTPStatusCode()));
  }
  return failure;
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
  // A derived class may pass an object of its own, which need not live longer than this call.
  auto completed =
      exchange.response.get() == &response
          ? Result(std::in_place, std::shared_ptr<const HTTPURLResponse>(exchange.response, &response),
                   std::any(), exchange.data)
          : Result(std::in_place, response, std::any(), exchange.data);
  if (apiConfiguration->hasDefaultInterceptor()) {
    completed->body = std::move(body);
    return complete(completion, std::move(completed));
  }
  std::expected<std::any, Failure> result(std::in_place, std::move(body));
  tellInterceptor(*apiConfiguration, didComplete, [&](OpenAPIInterceptor& told) {
    told.didComplete(exchange.request, exchange.session, shared_from_this(), exchange.data, exchange.response,
                     result);
  });
  completed->body = *std::move(result);
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
  if (detail::callOf(completion)->caller) return complete(completion, std::unexpected(error));
  try {
    apiConfiguration->apiResponseQueue().post([completion, error] { completion(std::unexpected(error)); });
  } catch (...) {
    if (!detail::isPending(*detail::callOf(completion), "MainQueue::post")) return;
    detail::reportDroppedException("MainQueue::post");
    complete(completion, std::unexpected(error));
  }
}

void URLSessionRequestBuilder::didFail(const URLSessionExchange& exchange, const std::optional<Data>& data,
                                       const Failure& failure) {
  tellInterceptor(*apiConfiguration, didComplete, [&](OpenAPIInterceptor& told) {
    told.didComplete(exchange.request, exchange.session, shared_from_this(), data, exchange.response,
                     std::unexpected(failure));
  });
}

}  // namespace tilvanego
