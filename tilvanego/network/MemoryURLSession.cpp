#include <tilvanego/network/MemoryURLSession.h>

#include <atomic>
#include <limits>
#include <mutex>
#include <utility>

#include <tilvanego/network/BodyStream.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/network/TransportError.h>

namespace [[gnu::visibility("default")]] tilvanego {

struct MemoryURLSession::State {
  explicit State(Responder function) : responder(std::move(function)) {}
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State();

  const Responder responder;
  mutable std::mutex mutex;
  std::vector<std::shared_ptr<MemoryTask>> ending;
  std::vector<std::shared_ptr<const URLRequest>> requests;
};

class MemoryURLSession::MemoryTask final : public URLSessionDataTaskProtocol,
                                           public std::enable_shared_from_this<MemoryTask> {
 public:
  MemoryTask(const std::shared_ptr<State>& state, std::shared_ptr<const URLRequest> request,
             DataTaskCompletion completion)
      : state_(state), request_(std::move(request)), completion_(std::move(completion)) {}

  void resume() override { end(false); }
  void cancel() override { end(true); }
  [[nodiscard]] int taskIdentifier() const override { return identifier_; }
  [[nodiscard]] std::shared_ptr<Progress> progress() const override { return progress_; }

  void deliver(State& state) {
    DataTaskCompletion completion;
    bool cancelled = false;
    {
      const std::lock_guard held(state.mutex);
      completion = std::exchange(completion_, nullptr);
      cancelled = cancelled_;
    }
    Result result = cancelled ? Result::failed(TransportError{TransportError::Code::cancelled, "cancelled"})
                              : respond(state);
    if (!result.error && request_->bodySink) passToSink(result);
    if (!result.error) {
      const auto sizeOf = [](const std::optional<Data>& data) { return data ? data->size() : 0; };
      const auto units = static_cast<std::int64_t>(sizeOf(request_->httpBody) + sizeOf(result.data));
      progress_->update(units, units);
    }
    if (completion) completion(std::move(result.data), std::move(result.response), std::move(result.error));
  }

  /// Releases the completion of a task whose session has ended.
  void drop() { const DataTaskCompletion dropped = std::exchange(completion_, nullptr); }

 private:
  Result respond(State& state) {
    try {
      return state.responder(*request_);
    } catch (...) {
      return Result::failed(detail::currentFailure());
    }
  }
  // Whole, whether the sink holds it up or not.
  void passToSink(Result& result) try {
    const auto* response = dynamic_cast<const HTTPURLResponse*>(result.response.get());
    if (!response || response->statusCode() < 200 || response->statusCode() >= 300) return;
    auto& sink = *request_->bodySink;
    const auto data = std::exchange(result.data, Data());
    auto passed = sink.begin(*response, [] {});
    if (passed && data && !data->empty()) {
      if (const auto flow = sink.write(data->bytes()); !flow) passed = std::unexpected(flow.error());
    }
    if (passed) passed = sink.finish();
    if (!passed) result.error = std::move(passed.error());
  } catch (...) {
    result.error = detail::currentFailure();
  }
  void end(bool cancelled) {
    const std::shared_ptr<State> state = state_.lock();
    if (!state) return;
    const std::lock_guard held(state->mutex);
    cancelled_ |= cancelled;
    if (!std::exchange(ending_, true)) state->ending.push_back(shared_from_this());
  }

  // Counts down from the highest number, so that it differs from the identifiers of a `URLSession`.
  static inline std::atomic<int> nextIdentifier = std::numeric_limits<int>::max();

  // Weak: the state holds the tasks that wait for their delivery.
  const std::weak_ptr<State> state_;
  const std::shared_ptr<const URLRequest> request_;
  const int identifier_ = nextIdentifier--;
  const std::shared_ptr<Progress> progress_ = std::make_shared<Progress>();
  DataTaskCompletion completion_;
  bool ending_ = false;
  bool cancelled_ = false;
};

// Nobody else uses a task's completion any more: only a session delivers.
MemoryURLSession::State::~State() {
  for (const auto& task : ending) task->drop();
}

MemoryURLSession::Result MemoryURLSession::Result::http(int statusCode, std::optional<Data> body,
                                                        HTTPHeaders headers) {
  static const std::optional<URL> url;
  return {std::move(body), std::make_shared<HTTPURLResponse>(url, statusCode, std::move(headers)), {}};
}

MemoryURLSession::MemoryURLSession(Responder responder)
    : state_(std::make_shared<State>(std::move(responder))) {}

std::shared_ptr<URLSessionDataTaskProtocol> MemoryURLSession::dataTaskFromProtocol(
    const URLRequest& request, DataTaskCompletion completionHandler) {
  const auto kept = std::make_shared<const URLRequest>(request);
  auto task = std::make_shared<MemoryTask>(state_, kept, std::move(completionHandler));
  task->progress()->setCancellationHandler([weak = std::weak_ptr(task)] {
    if (const auto cancelled = weak.lock()) cancelled->cancel();
  });
  const std::lock_guard held(state_->mutex);
  state_->requests.push_back(kept);
  return task;
}

std::size_t MemoryURLSession::deliver() {
  // A responder or a completion may end the session: the remaining tasks then end with it.
  const std::weak_ptr<State> session = state_;
  std::vector<std::shared_ptr<MemoryTask>> ending;
  {
    const std::lock_guard held(state_->mutex);
    ending.swap(state_->ending);
  }
  std::size_t delivered = 0;
  for (auto task = ending.begin(); task != ending.end(); ++task) {
    const std::shared_ptr<State> state = session.lock();
    if (!state) {
      (*task)->drop();
      continue;
    }
    ++delivered;
    try {
      (*task)->deliver(*state);
    } catch (...) {
      const std::lock_guard held(state->mutex);
      state->ending.insert(state->ending.begin(), task + 1, ending.end());
      throw;
    }
  }
  return delivered;
}

std::vector<URLRequest> MemoryURLSession::requests() const {
  const std::lock_guard held(state_->mutex);
  std::vector<URLRequest> copies;
  copies.reserve(state_->requests.size());
  for (const auto& request : state_->requests) copies.push_back(*request);
  return copies;
}

}  // namespace tilvanego
