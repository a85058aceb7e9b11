#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include <tilvanego/http_client/BlockingCall.h>
#include <tilvanego/http_client/RequestBuilder.h>
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/MainQueue.h>

namespace tilvanego::detail {

/// What all tries of one `execute` share. Used on any thread.
struct WholeCall {
  using Deadline = std::optional<std::chrono::steady_clock::time_point>;

  explicit WholeCall(RequestBuilder::Completion given, std::shared_ptr<BlockingCall> waiting = nullptr)
      : completion(std::move(given)), caller(std::move(waiting)) {}
  WholeCall(const WholeCall&) = delete;
  WholeCall& operator=(const WholeCall&) = delete;
  /// Nobody can complete the call any more.
  ~WholeCall() {
    if (caller && !used) caller->endDropped();
  }

  /// The host's; empty once it is used, and for a thread that waits.
  RequestBuilder::Completion completion;
  std::atomic<bool> used = false;
  std::atomic<bool> threw = false;
  /// The thread that waits for the result; null if none does.
  const std::shared_ptr<BlockingCall> caller;
  /// Set before the first try.
  Deadline deadline;
  std::atomic<int> tries = 0;
  /// Set while the call waits for a retry: there is no task of a session then that could be cancelled.
  std::atomic<bool> cancelled = false;
};

/// The completion that the steps of a builder pass on. It runs the host's completion at the first call.
class CallCompletion {
 public:
  explicit CallCompletion(std::shared_ptr<WholeCall> call) : call_(std::move(call)) {}

  [[nodiscard]] const std::shared_ptr<WholeCall>& call() const { return call_; }

  /// An exception of the host's completion leaves the call.
  void operator()(RequestBuilder::Result&& result) const {
    if (call_->caller) {
      if (!call_->used.exchange(true)) call_->caller->end(std::move(result));
      return;
    }
    // The host's completion may destroy this object.
    const auto call = call_;
    if (call->used.exchange(true)) return;
    const auto completion = std::exchange(call->completion, nullptr);
    try {
      completion(std::move(result));
    } catch (...) {
      call->threw = true;
      throw;
    }
  }

 private:
  std::shared_ptr<WholeCall> call_;
};

/// The call of a completion that `CallCompletion` is.
[[nodiscard]] inline const std::shared_ptr<WholeCall>& callOf(const RequestBuilder::Completion& completion) {
  return completion.target<CallCompletion>()->call();
}

/// Called in a `catch` block around code that may have called the call's completion. Returns true if that
/// hasn't run, so that it must get the failure. If it has run, reports the exception as dropped, or rethrows
/// it if the completion threw it.
inline bool isPending(const WholeCall& call, std::string_view step) {
  if (call.threw) throw;
  if (call.used) reportDroppedException(step);
  return !call.used;
}

/// Stands in for the ended task of a try while the interceptor hasn't decided on the next one.
class RetryWait final : public URLSessionDataTaskProtocol {
 public:
  /// `end` runs on the thread that waits for the call, else on `queue`, when the wait is cancelled.
  RetryWait(std::shared_ptr<URLSessionDataTaskProtocol> ended, const std::shared_ptr<WholeCall>& call,
            MainQueue& queue, std::function<void()> end)
      : ended_(std::move(ended)), call_(call), caller_(call->caller), queue_(queue), end_(std::move(end)) {}

  void resume() override {}
  [[nodiscard]] int taskIdentifier() const override { return ended_->taskIdentifier(); }
  [[nodiscard]] std::shared_ptr<Progress> progress() const override { return ended_->progress(); }
  // Posted, because `RequestTask` calls this with its lock held.
  void cancel() override {
    if (const auto call = call_.lock()) call->cancelled = true;
    if (!caller_ || !caller_->post(end_)) queue_.post(end_);
  }

 private:
  const std::shared_ptr<URLSessionDataTaskProtocol> ended_;
  /// Weak, because a call ends when nobody can complete it any more.
  const std::weak_ptr<WholeCall> call_;
  const std::shared_ptr<BlockingCall> caller_;
  MainQueue& queue_;
  const std::function<void()> end_;
};

}  // namespace tilvanego::detail
