// What a request builder does between two tries of a request.

#include <utility>

#include <tilvanego/http_client/Once.h>
#include <tilvanego/http_client/URLSessionImplementations.h>
#include <tilvanego/http_client/WholeCall.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

/// The interceptor's answer, or none because the wait for it was cancelled.
using Decision = std::optional<OpenAPIInterceptorRetry>;
using Decided = detail::Once<Decision>;

/// Lets `task` cancel the wait for a decision, which is in place of the `ended` session's task. Without
/// memory for that, the wait isn't cancelled.
void makeCancellable(RequestTask& task, const std::shared_ptr<URLSessionDataTaskProtocol>& ended,
                     const std::shared_ptr<Decided>& decided, const std::shared_ptr<detail::WholeCall>& call,
                     MainQueue& queue) try {
  if (!ended || decided->isUsed()) return;
  // Weak, because an interceptor may forget its completion.
  const auto wait = std::make_shared<detail::RetryWait>(ended, call, queue, [weak = std::weak_ptr(decided)] {
    if (const auto waiting = weak.lock()) (*waiting)(std::nullopt);
  });
  if (!task.replace(ended, wait) && !task.get()) wait->cancel();
} catch (...) {
  detail::reportDroppedException("the wait for OpenAPIInterceptor::retry");
}

}  // namespace

// Returns a completion that runs once, however often it is called. A retry passes such a completion on.
RequestBuilder::Completion URLSessionRequestBuilder::runOnce(Completion completion) {
  if (completion.target<detail::CallCompletion>() != nullptr) return completion;
  detail::requireCompletion(completion != nullptr);
  return detail::CallCompletion(std::make_shared<detail::WholeCall>(std::move(completion)));
}

void URLSessionRequestBuilder::retry(const URLSessionExchange& exchange, int code, const Failure& failure,
                                     const Completion& given) {
  // A builder class of the host may pass another completion than the one that it got.
  const Completion completion = runOnce(given);
  const auto ended = requestTask->get();
  std::shared_ptr<Decided> decided;
  try {
    decided = std::make_shared<Decided>(
        [self = shared_from_this(), this, exchange, code, failure, completion](Decision decision) {
          if (decision == OpenAPIInterceptorRetry::retry) {
            executeAgain(exchange, completion);
          } else if (decision) {
            failLater(exchange, code, failure, completion);
          } else {
            failLater(exchange, ErrorResponse::transportFailed,
                      TransportError{TransportError::Code::cancelled, "cancelled before the next try"},
                      completion);
          }
        });
    apiConfiguration->interceptor()->retry(exchange.request, exchange.session, shared_from_this(),
                                           exchange.data, exchange.response, failure,
                                           [decided](OpenAPIInterceptorRetry answer) { (*decided)(answer); });
    makeCancellable(*requestTask, ended, decided, detail::callOf(completion),
                    apiConfiguration->apiResponseQueue());
  } catch (...) {
    if (!detail::isPending(*detail::callOf(completion), "OpenAPIInterceptor::retry")) return;
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
  if (detail::isPending(*detail::callOf(completion), "RequestBuilder::execute")) {
    refuse(exchange.request, exchange.session, detail::currentFailure(), completion);
  }
}

}  // namespace tilvanego
