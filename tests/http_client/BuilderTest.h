#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <tilvanego/http_client/OpenAPIInterceptor.h>
#include <tilvanego/http_client/URLSessionImplementations.h>
#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/platform/RunLoop.h>

#include "tests/support/TemporaryDirectory.h"

namespace tilvanego::test {

/// The library's own kind of builder with a session of the test's.
template <typename Base>
class Through : public Base {
 public:
  Through(RequestBuilder::Construction construction, std::shared_ptr<URLSessionProtocol> session)
      : Base(std::move(construction)), session_(std::move(session)) {}

  std::shared_ptr<URLSessionProtocol> createURLSession() override { return session_; }

 private:
  const std::shared_ptr<URLSessionProtocol> session_;
};

/// And with a caches directory of the test's.
class ThroughDecodable final : public Through<URLSessionDecodableRequestBuilder> {
 public:
  ThroughDecodable(RequestBuilder::Construction construction, std::shared_ptr<URLSessionProtocol> session,
                   std::filesystem::path caches)
      : Through(std::move(construction), std::move(session)), caches_(std::move(caches)) {}

  [[nodiscard]] std::filesystem::path cachesDirectory() const override { return caches_; }

 private:
  const std::filesystem::path caches_;
};

class ThroughFactory final : public RequestBuilderFactory {
 public:
  ThroughFactory(std::shared_ptr<URLSessionProtocol> session, std::filesystem::path caches)
      : session_(std::move(session)), caches_(std::move(caches)) {}

  [[nodiscard]] RequestBuilderKind getNonDecodableBuilder(const BodyType& /*type*/) const override {
    return [session = session_](const BodyType& type, RequestBuilderArguments arguments) {
      return RequestBuilder::make<Through<URLSessionRequestBuilder>>(type, std::move(arguments), session);
    };
  }
  [[nodiscard]] RequestBuilderKind getBuilder(const BodyType& /*type*/) const override {
    return [session = session_, caches = caches_](const BodyType& type, RequestBuilderArguments arguments) {
      return RequestBuilder::make<ThroughDecodable>(type, std::move(arguments), session, caches);
    };
  }

 private:
  const std::shared_ptr<URLSessionProtocol> session_;
  const std::filesystem::path caches_;
};

/// Notes what it is told, and does what a test sets before the first request.
class NotingInterceptor final : public OpenAPIInterceptor {
 public:
  std::function<std::expected<URLRequest, Failure>(URLRequest)> change;
  /// How many failures are answered by another try.
  int retries = 0;

  void intercept(const URLRequest& request, const Session& /*session*/, const Builder& /*builder*/,
                 InterceptCompletion completion) override {
    note("intercept " + request.httpMethod);
    completion(change ? change(request) : request);
  }
  void retry(const URLRequest& /*request*/, const Session& /*session*/, const Builder& /*builder*/,
             const std::optional<Data>& /*data*/, const URLResponsePointer& /*response*/,
             const Failure& /*error*/, RetryCompletion completion) override {
    note("retry");
    const bool again = takeRetry();
    completion(again ? OpenAPIInterceptorRetry::retry : OpenAPIInterceptorRetry::dontRetry);
  }
  void willSendRequest(const URLRequest& /*request*/, const Session& /*session*/,
                       const Builder& builder) override {
    note("willSend");
    const std::scoped_lock lock(mutex_);
    identifiers_.push_back(builder->requestTask->get()->taskIdentifier());
  }
  void didReceiveResponse(const URLRequest& /*request*/, const Session& /*session*/,
                          const Builder& /*builder*/, const std::optional<Data>& /*data*/,
                          const URLResponsePointer& response, const std::optional<Failure>& error) override {
    const auto* http = dynamic_cast<const HTTPURLResponse*>(response.get());
    note("didReceive " + std::string(error             ? "failure"
                                     : http != nullptr ? std::to_string(http->statusCode())
                                                       : ""));
  }
  void didComplete(const URLRequest& /*request*/, const Session& /*session*/, const Builder& /*builder*/,
                   const std::optional<Data>& /*data*/, const URLResponsePointer& /*response*/,
                   const std::expected<std::any, Failure>& result) override {
    note(result ? "didComplete" : "didComplete failure");
  }

  void note(std::string text) {
    const std::scoped_lock lock(mutex_);
    notes_.push_back(std::move(text));
  }
  std::vector<std::string> takeNotes() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(notes_, {});
  }
  /// Of every task that was about to be started.
  std::vector<int> taskIdentifiers() {
    const std::scoped_lock lock(mutex_);
    return identifiers_;
  }

 private:
  bool takeRetry() {
    const std::scoped_lock lock(mutex_);
    return retries > 0 && retries-- > 0;
  }

  std::mutex mutex_;
  std::vector<std::string> notes_;
  std::vector<int> identifiers_;
};

/// A test of the whole client: builders, configuration, interceptor, and a session of the test's own, with
/// the library's delegate. The test's thread drains the queue of the responses.
class BuilderTest : public testing::Test {
 protected:
  enum class Where { queue, session };

  /// What a completion was given; completions are counted.
  template <typename T>
  struct Told {
    int completions = 0;
    Where where = Where::queue;
    std::optional<typename RequestBuilderOf<T>::Result> result;

    [[nodiscard]] const Response<T>& response() const { return result->value(); }
    [[nodiscard]] const ErrorResponse& error() const { return result->error(); }
    /// 0 for a success.
    [[nodiscard]] int code() const { return *result ? 0 : result->error().code(); }
    template <typename Cause>
    [[nodiscard]] const Cause* cause() const {
      return *result ? nullptr : result->error().underlyingFailure().template as<Cause>();
    }
  };

  BuilderTest() { useSession({}); }

  void useSession(URLSessionConfiguration sessionConfiguration) {
    if (!sessionConfiguration.proxy) sessionConfiguration.proxy = "";  // whatever the environment says
    session_ =
        std::make_shared<URLSession>(std::move(sessionConfiguration), std::make_shared<SessionDelegate>());
    configuration = std::make_shared<OstrelTilvanePoiModelsAPIConfiguration>(
        "http://unused.invalid", OstrelTilvanePoiModelsAPIConfiguration::Headers(), std::nullopt,
        std::make_shared<ThroughFactory>(session_, caches.path() / "caches"), queue,
        std::make_shared<CodableHelper>(), StatusCodeRange(), interceptor);
  }

  template <typename T>
  RequestBuilderOf<T> builder(const std::string& method, const std::string& url,
                              std::optional<Parameters> parameters = {},
                              std::map<std::string, std::string> headers = {}) {
    return makeRequestBuilder<T>({.method = method,
                                  .URLString = url,
                                  .parameters = std::move(parameters),
                                  .headers = std::move(headers),
                                  .apiConfiguration = configuration});
  }

  /// Starts a send; what it is told is there after `finish`.
  template <typename T>
  std::shared_ptr<Told<T>> start(const RequestBuilderOf<T>& request) {
    auto told = std::make_shared<Told<T>>();
    {
      const std::scoped_lock lock(mutex_);
      ++running_;
    }
    request.execute([this, told](auto result) {
      const std::scoped_lock lock(mutex_);
      interceptor->note("completion");
      ++told->completions;
      told->where = queue.isCurrent() ? Where::queue : Where::session;
      told->result = std::move(result);
      if (--running_ == 0) queue.stop();
    });
    checks_.push_back([told] { EXPECT_EQ(told->completions, 1); });
    return told;
  }

  /// Waits for the completions of all sends.
  void finish() {
    const auto left = [this] {
      const std::scoped_lock lock(mutex_);
      return running_;
    };
    while (left() != 0) queue.run();
  }

  template <typename T>
  Told<T> send(const RequestBuilderOf<T>& request) {
    const auto told = start(request);
    finish();
    const std::scoped_lock lock(mutex_);
    return *told;
  }
  template <typename T>
  Told<T> send(const std::string& method, const std::string& url) {
    return send(builder<T>(method, url));
  }

  bool hasCredential(int taskIdentifier) const {
    return URLSessionRequestBuilderConfiguration::shared().credentialStore->value(taskIdentifier).has_value();
  }

  void TearDown() override {
    finish();
    configuration.reset();
    session_.reset();  // with its thread, so no completion can follow
    queue.runPending();
    for (const auto& check : checks_) check();
    EXPECT_EQ(running_, 0);
  }

  const TemporaryDirectory caches;
  RunLoop queue;
  const std::shared_ptr<NotingInterceptor> interceptor = std::make_shared<NotingInterceptor>();
  std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration> configuration;

 private:
  std::shared_ptr<URLSession> session_;
  std::mutex mutex_;
  int running_ = 0;
  std::vector<std::function<void()>> checks_;
};

}  // namespace tilvanego::test
