#pragma once

#include <deque>
#include <expected>
#include <mutex>
#include <thread>

#include <tilvanego/http_client/RequestBuilderWithSession.h>
#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/network/MemoryURLSession.h>
#include <tilvanego/platform/RunLoop.h>

#include "tests/support/Test.h"

namespace tilvanego::test {

/// A failure of a text, for whoever needs one.
struct TestFailure {
  std::string text;
  [[nodiscard]] std::string description() const { return text; }
};

using FakeResponse = MemoryURLSession::Result;

inline FakeResponse httpResponse(int status, std::optional<Data> data = Data(), HTTPHeaders headers = {}) {
  return FakeResponse::http(status, std::move(data), std::move(headers));
}

/// A session that answers from a script, with the last answer again and again, on a thread of its own for
/// each delivery.
class FakeSession {
 public:
  explicit FakeSession(std::deque<FakeResponse> script) : script_(std::move(script)) {}

  std::size_t deliver() {
    std::size_t count = 0;
    std::thread([&] { count = session->deliver(); }).join();
    return count;
  }

  const std::shared_ptr<MemoryURLSession> session =
      std::make_shared<MemoryURLSession>([this](const URLRequest&) {
        const std::lock_guard held(mutex_);
        FakeResponse answer = script_.front();
        if (script_.size() > 1) script_.pop_front();
        return answer;
      });

 private:
  std::mutex mutex_;
  std::deque<FakeResponse> script_;
};

/// Notes what it hears of, with where it hears it: on the "main" thread, which made it, or on the
/// "session's".
class RecordingInterceptor : public DefaultOpenAPIInterceptor {
 public:
  void intercept(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
                 InterceptCompletion completion) override {
    note("intercept " + urlRequest.httpMethod);
    if (onIntercept) {
      onIntercept(urlRequest, std::move(completion));
    } else {
      DefaultOpenAPIInterceptor::intercept(urlRequest, urlSession, requestBuilder, std::move(completion));
    }
  }
  void retry(const URLRequest&, const Session&, const Builder&, const std::optional<Data>&,
             const URLResponsePointer&, const Failure& error, RetryCompletion completion) override {
    note("retry? " + error.description());
    if (onRetry) {
      onRetry(std::move(completion));
    } else {
      completion(OpenAPIInterceptorRetry::dontRetry);
    }
  }
  void willSendRequest(const URLRequest& urlRequest, const Session&, const Builder& builder) override {
    note("willSend " + urlRequest.httpMethod);
    if (onWillSend) onWillSend(*builder);
  }
  void didReceiveResponse(const URLRequest&, const Session&, const Builder& builder,
                          const std::optional<Data>& data, const URLResponsePointer&,
                          const std::optional<Failure>& error) override {
    note("didReceive " + (error ? error->description() : std::string(data ? data->text() : "nothing")));
    if (onReceive) onReceive(*builder);
  }
  void didComplete(const URLRequest& urlRequest, const Session&, const Builder& builder,
                   const std::optional<Data>& data, const URLResponsePointer&,
                   const std::expected<std::any, Failure>& result) override {
    note("didComplete " + (result ? std::string("well") : result.error().description()));
    completedRequests.push_back(urlRequest);
    completedData.push_back(data);
    if (onComplete) onComplete(*builder);
  }

  void note(const std::string& event) {
    events.push_back((std::this_thread::get_id() == main_ ? "main: " : "session: ") + event);
  }
  std::vector<std::string> takeEvents() { return std::exchange(events, {}); }

  std::function<void(const URLRequest&, InterceptCompletion)> onIntercept;
  std::function<void(RetryCompletion)> onRetry;
  std::function<void(RequestBuilder&)> onWillSend, onReceive, onComplete;
  std::vector<std::string> events;
  std::vector<URLRequest> completedRequests;
  std::vector<std::optional<Data>> completedData;

 private:
  const std::thread::id main_ = std::this_thread::get_id();
};

/// A client of its own over the fake session, whose main queue and interceptor the test has in its hands.
struct TestClient {
  explicit TestClient(std::deque<FakeResponse> script) : session(std::move(script)) {
    useSession(session.session);
  }
  void useSession(std::shared_ptr<URLSessionProtocol> other) {
    configuration->setRequestBuilderFactory(
        std::make_shared<RequestBuilderFactoryWithSession<>>(std::move(other)));
  }

  template <typename T>
  RequestBuilderOf<T> builder(RequestBuilderArguments arguments = {.method = "GET",
                                                                   .URLString = "https://host.example/a"}) {
    arguments.apiConfiguration = configuration;
    return makeRequestBuilder<T>(std::move(arguments));
  }

  /// Executes, delivers until nothing is under way, and gives the one result; the completion is noted too.
  template <typename T>
  typename RequestBuilderOf<T>::Result run(const RequestBuilderOf<T>& builder) {
    std::optional<typename RequestBuilderOf<T>::Result> outcome;
    builder.execute([&](typename RequestBuilderOf<T>::Result result) {
      interceptor->note(outcome ? "completion again" : "completion");
      outcome = std::move(result);
    });
    finish();
    return *std::move(outcome);
  }
  template <typename T>
  typename RequestBuilderOf<T>::Result run() {
    return run(builder<T>());
  }
  /// Delivers until nothing is under way.
  void finish() {
    while (session.deliver() + queue.runPending() > 0) {
    }
  }

  /// Has `at` called with the name of each moment of the builder's sends, which aren't tried again.
  void callAtEachMoment(RequestBuilder& builder, const std::function<void(const std::string&)>& at) {
    builder.setOnProgressReady([at](const auto&) { at("progressReady"); });
    interceptor->onIntercept = [at](const URLRequest& request, const auto& completion) {
      at("intercept");
      completion(request);
      at("intercepted");
    };
    interceptor->onRetry = [at](const auto& completion) {
      at("retry");
      completion(OpenAPIInterceptorRetry::dontRetry);
      at("retried");
    };
    interceptor->onWillSend = [at](RequestBuilder&) { at("willSend"); };
    interceptor->onReceive = [at](RequestBuilder&) { at("didReceive"); };
    interceptor->onComplete = [at](RequestBuilder&) { at("didComplete"); };
  }

  RunLoop queue;
  FakeSession session;
  std::shared_ptr<RecordingInterceptor> interceptor = std::make_shared<RecordingInterceptor>();
  std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration> configuration =
      std::make_shared<OstrelTilvanePoiModelsAPIConfiguration>(
          "https://host.example", OstrelTilvanePoiModelsAPIConfiguration::Headers(), std::nullopt,
          std::make_shared<URLSessionRequestBuilderFactory>(), queue, std::make_shared<CodableHelper>(),
          StatusCodeRange(), interceptor);
};

}  // namespace tilvanego::test
