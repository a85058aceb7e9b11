#include "tests/http_client/FakeSession.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace tilvanego::test {

struct FakeSession::State {
  mutable std::mutex mutex;
  std::deque<FakeAnswer> script;
  std::vector<std::shared_ptr<FakeTask>> ending;
  std::vector<URLRequest> requests;
};

class FakeSession::FakeTask final : public URLSessionDataTaskProtocol,
                                    public std::enable_shared_from_this<FakeTask> {
 public:
  FakeTask(std::shared_ptr<State> state, DataTaskCompletion completion)
      : state_(std::move(state)), completion_(std::move(completion)) {}

  void resume() override {
    const std::lock_guard held(state_->mutex);
    end();
  }
  void cancel() override {
    const std::lock_guard held(state_->mutex);
    cancelled_ = true;
    end();
  }
  [[nodiscard]] int taskIdentifier() const override { return identifier_; }
  [[nodiscard]] std::shared_ptr<Progress> progress() const override { return progress_; }

  void deliver() {
    FakeAnswer answer;
    DataTaskCompletion completion;
    {
      const std::lock_guard held(state_->mutex);
      completion = std::exchange(completion_, nullptr);
      if (cancelled_) {
        answer.error = TestFailure{"cancelled"};
      } else {
        answer = state_->script.front();
        if (state_->script.size() > 1) state_->script.pop_front();
      }
    }
    completion(answer.data, answer.response, answer.error);
  }

 private:
  void end() {
    if (!std::exchange(ending_, true)) state_->ending.push_back(shared_from_this());
  }

  // Far from the identifiers of a real session in the same process, which count up from 1.
  static inline std::atomic<int> lastIdentifier = 1'000'000'000;

  const std::shared_ptr<State> state_;
  const int identifier_ = ++lastIdentifier;
  const std::shared_ptr<Progress> progress_ = std::make_shared<Progress>();
  DataTaskCompletion completion_;
  bool ending_ = false;
  bool cancelled_ = false;
};

FakeSession::FakeSession(std::deque<FakeAnswer> script) : state_(std::make_shared<State>()) {
  state_->script = std::move(script);
}

std::shared_ptr<URLSessionDataTaskProtocol> FakeSession::dataTaskFromProtocol(
    const URLRequest& request, DataTaskCompletion completionHandler) {
  const std::lock_guard held(state_->mutex);
  state_->requests.push_back(request);
  return std::make_shared<FakeTask>(state_, std::move(completionHandler));
}

std::size_t FakeSession::deliver() {
  std::size_t count = 0;
  std::thread([&] { count = deliverHere(); }).join();
  return count;
}

std::size_t FakeSession::deliverHere() {
  std::vector<std::shared_ptr<FakeTask>> ending;
  {
    const std::lock_guard held(state_->mutex);
    ending.swap(state_->ending);
  }
  for (const auto& task : ending) task->deliver();
  return ending.size();
}

std::vector<URLRequest> FakeSession::requests() const {
  const std::lock_guard held(state_->mutex);
  return state_->requests;
}

}  // namespace tilvanego::test
