#include <tilvanego/http_client/InterceptorChain.h>

#include <cstddef>
#include <string>
#include <utility>

#include <tilvanego/http_client/Once.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using Interceptors = std::shared_ptr<const InterceptorChain::Interceptors>;
using Session = OpenAPIInterceptor::Session;
using Builder = OpenAPIInterceptor::Builder;
using Intercepted = std::expected<URLRequest, Failure>;

void interceptFrom(const Interceptors& all, std::size_t position, const URLRequest& request,
                   const Session& session, const Builder& builder,
                   OpenAPIInterceptor::InterceptCompletion completion) {
  if (position == all->size()) return completion(request);
  (*all)[position]->intercept(
      request, session, builder,
      detail::Once<Intercepted>([all, position, session, builder, completion](Intercepted answer) {
        if (!answer) return completion(std::move(answer));
        interceptFrom(all, position + 1, *answer, session, builder, completion);
      }));
}

/// What an interceptor is asked, kept for those that are asked later.
struct Question {
  URLRequest request;
  Session session;
  Builder builder;
  std::optional<Data> data;
  URLResponsePointer response;
  Failure error;
};

void askFrom(const Interceptors& all, std::size_t position, const std::shared_ptr<const Question>& question,
             OpenAPIInterceptor::RetryCompletion completion) {
  if (position == all->size()) return completion(OpenAPIInterceptorRetry::dontRetry);
  const auto& [request, session, builder, data, response, error] = *question;
  (*all)[position]->retry(
      request, session, builder, data, response, error,
      detail::Once<OpenAPIInterceptorRetry>([all, position, question, completion](auto answer) {
        if (answer == OpenAPIInterceptorRetry::retry) return completion(answer);
        askFrom(all, position + 1, question, completion);
      }));
}

template <typename Call>
void callAll(const Interceptors& all, std::string_view name, Call call) {
  for (const auto& each : *all) detail::runListener(name, [&] { call(*each); });
}

}  // namespace

InterceptorChain::InterceptorChain(Interceptors interceptors)
    : interceptors_(std::make_shared<const Interceptors>(std::move(interceptors))) {
  // Those that answer at once call each other on one stack.
  if (interceptors_->size() > mostInterceptors) {
    support::wrongUse("an InterceptorChain takes at most " + std::to_string(mostInterceptors) +
                      " interceptors: make one of those that do the same");
  }
}

void InterceptorChain::intercept(const URLRequest& urlRequest, const Session& urlSession,
                                 const Builder& requestBuilder, InterceptCompletion completion) {
  interceptFrom(interceptors_, 0, urlRequest, urlSession, requestBuilder, std::move(completion));
}

void InterceptorChain::retry(const URLRequest& urlRequest, const Session& urlSession,
                             const Builder& requestBuilder, const std::optional<Data>& data,
                             const URLResponsePointer& response, const Failure& error,
                             RetryCompletion completion) {
  askFrom(interceptors_, 0,
          std::make_shared<const Question>(urlRequest, urlSession, requestBuilder, data, response, error),
          std::move(completion));
}

void InterceptorChain::willSendRequest(const URLRequest& urlRequest, const Session& urlSession,
                                       const Builder& requestBuilder) {
  callAll(interceptors_, "OpenAPIInterceptor::willSendRequest",
          [&](OpenAPIInterceptor& each) { each.willSendRequest(urlRequest, urlSession, requestBuilder); });
}

void InterceptorChain::didReceiveResponse(const URLRequest& urlRequest, const Session& urlSession,
                                          const Builder& requestBuilder, const std::optional<Data>& data,
                                          const URLResponsePointer& response,
                                          const std::optional<Failure>& error) {
  callAll(interceptors_, "OpenAPIInterceptor::didReceiveResponse", [&](OpenAPIInterceptor& each) {
    each.didReceiveResponse(urlRequest, urlSession, requestBuilder, data, response, error);
  });
}

void InterceptorChain::didComplete(const URLRequest& urlRequest, const Session& urlSession,
                                   const Builder& requestBuilder, const std::optional<Data>& data,
                                   const URLResponsePointer& response,
                                   const std::expected<std::any, Failure>& result) {
  callAll(interceptors_, "OpenAPIInterceptor::didComplete", [&](OpenAPIInterceptor& each) {
    each.didComplete(urlRequest, urlSession, requestBuilder, data, response, result);
  });
}

}  // namespace tilvanego
