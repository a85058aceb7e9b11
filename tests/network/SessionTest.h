#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/network/URLRequest.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/network/URLSession.h>
#include <tilvanego/values/URL.h>

#include "tests/support/LoopbackServer.h"
#include "tests/support/Test.h"

namespace tilvanego::test {

inline URLRequest get(std::string_view url) {
  URLRequest request;
  request.url = URL::parse(std::string(url)).value();
  return request;
}

inline URLRequest post(std::string_view url, std::string_view body) {
  URLRequest request = get(url);
  request.httpMethod = "POST";
  request.httpBody = Data(body);
  return request;
}

/// What a completion was given.
struct TaskOutcome {
  std::optional<Data> data;
  URLResponsePointer response;
  std::optional<Failure> error;
  std::thread::id thread;

  [[nodiscard]] const HTTPURLResponse* http() const {
    return dynamic_cast<const HTTPURLResponse*>(response.get());
  }
  /// 0 without a response.
  [[nodiscard]] int status() const { return http() ? http()->statusCode() : 0; }
  [[nodiscard]] std::string header(std::string_view name) const {
    return http() ? std::string(http()->headers().value(name).value_or("")) : "";
  }
  [[nodiscard]] std::string text() const { return data ? std::string(data->text()) : ""; }
  [[nodiscard]] std::optional<TransportError::Code> code() const {
    const auto* cause = error ? error->as<TransportError>() : nullptr;
    return cause ? std::optional(cause->code) : std::nullopt;
  }
};

/// One task of a session and what became of it. Counts the runs of its completion.
class Send {
 public:
  Send(URLSessionProtocol& session, const URLRequest& request, std::function<void()> onCompletion = {})
      : state_(std::make_shared<State>()),
        task_(session.dataTaskFromProtocol(request, [state = state_, onCompletion = std::move(onCompletion)](
                                                        auto data, auto response, auto error) {
          if (onCompletion) onCompletion();
          const std::scoped_lock lock(state->mutex);
          ++state->completions;
          state->outcome = {std::move(data), std::move(response), std::move(error),
                            std::this_thread::get_id()};
          state->changed.notify_all();
        })) {}

  [[nodiscard]] URLSessionDataTaskProtocol& task() const { return *task_; }
  [[nodiscard]] std::shared_ptr<URLSessionDataTaskProtocol> sharedTask() const { return task_; }

  /// Waits for the completion.
  [[nodiscard]] TaskOutcome outcome() const {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [&] { return state_->completions > 0; });
    return state_->outcome;
  }
  [[nodiscard]] int completions() const {
    const std::scoped_lock lock(state_->mutex);
    return state_->completions;
  }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    int completions = 0;
    TaskOutcome outcome;
  };
  std::shared_ptr<State> state_;
  std::shared_ptr<URLSessionDataTaskProtocol> task_;
};

/// A test with a session, at the end of which each completion must have run once, on the session's thread.
///
/// With TILVANEGO_SEND_HERE in the environment each request is sent by a thread of its own: the rules are the
/// same.
class SessionTest : public testing::Test {
 protected:
  SessionTest() { useSession({}); }

  void useSession(URLSessionConfiguration configuration,
                  std::shared_ptr<URLSessionDelegate> delegate = nullptr) {
    endSession();
    session =
        std::make_unique<URLSession>(LoopbackServer::reaching(std::move(configuration)), std::move(delegate));
  }

  void TearDown() override { endSession(); }

  Send& make(const URLRequest& request, std::function<void()> onCompletion = {}) {
    return *sends_.emplace_back(std::make_unique<Send>(*session, request, std::move(onCompletion)));
  }
  Send& start(const URLRequest& request) {
    auto& send = make(request);
    if (sendsHere_) {
      senders_.emplace_back([task = send.sharedTask()] { task->resumeHere(); });
    } else {
      send.task().resume();
    }
    return send;
  }
  TaskOutcome send(const URLRequest& request) { return start(request).outcome(); }

  void endSession() {
    session.reset();
    for (auto& sender : senders_) sender.join();
    senders_.clear();
    std::thread::id thread;
    for (const auto& send : sends_) {
      ASSERT_EQ(send->completions(), 1);
      if (sendsHere_) continue;
      if (thread == std::thread::id()) thread = send->outcome().thread;
      EXPECT_EQ(send->outcome().thread, thread);
      EXPECT_NE(thread, std::this_thread::get_id());
    }
    sends_.clear();
  }

  std::unique_ptr<URLSession> session;

 private:
  const bool sendsHere_ = std::getenv("TILVANEGO_SEND_HERE") != nullptr;
  std::vector<std::thread> senders_;
  std::vector<std::unique_ptr<Send>> sends_;
};

}  // namespace tilvanego::test
