#include <tilvanego/http_client/BlockingCall.h>

#include <string>
#include <utility>

#include <tilvanego/http_client/WholeCall.h>

namespace tilvanego::detail {
namespace {

struct DroppedCompletion {
  [[nodiscard]] std::string description() const { return "the completion was dropped without a call"; }
};

}  // namespace

RequestBuilder::Completion BlockingCall::completionOf(const std::shared_ptr<BlockingCall>& call) {
  return CallCompletion(std::make_shared<WholeCall>(nullptr, call));
}

void BlockingCall::end(RequestBuilder::Result&& result) {
  if (isOwnThread()) {
    result_ = std::move(result);
    hasEndedHere_ = true;
    return;
  }
  const std::lock_guard held(mutex_);
  result_ = std::move(result);
  hasEnded_ = true;
  changed_.notify_one();
}

void BlockingCall::endDropped() {
  end(std::unexpected(
      ErrorResponse::error(ErrorResponse::notExecuted, std::nullopt, nullptr, DroppedCompletion())));
}

void BlockingCall::start(const std::shared_ptr<Attempt>& attempt, const TaskPointer& task) {
  // After the end, a later thread may have this thread's identifier.
  if (isOver_) return task->resume();
  if (isOwnThread() && !ownStart_.attempt) {
    ownStart_ = {attempt, task};
    return;
  }
  if (!post([this, own = Start{attempt, task}] { startHere(*own.attempt, *own.task); })) task->resume();
}

void BlockingCall::startHere(Attempt& attempt, URLSessionDataTaskProtocol& task) noexcept try {
  if (isOver_) return task.resume();
  // The stop may have come before there was a task to cancel.
  if (stopToken_.stopRequested()) task.cancel();
  task.resumeHere();
} catch (...) {
  attempt.failToStart();
}

bool BlockingCall::post(std::function<void()> work) {
  const std::lock_guard held(mutex_);
  if (isOver_) return false;
  posted_.push_back(std::move(work));
  changed_.notify_one();
  return true;
}

RequestBuilder::Result BlockingCall::wait() {
  for (;;) {
    if (hasEndedHere_) break;
    if (const auto own = std::exchange(ownStart_, {}); own.attempt) {
      startHere(*own.attempt, *own.task);
    } else if (const auto work = next()) {
      work();
    } else {
      break;
    }
  }
  RequestBuilder::Result result = *std::move(result_);
  leave();
  return result;
}

void BlockingCall::leave() noexcept {
  std::vector<std::function<void()>> left;
  {
    const std::lock_guard held(mutex_);
    isOver_ = true;
    left.swap(posted_);
  }
  if (const auto own = std::exchange(ownStart_, {}); own.attempt) startHere(*own.attempt, *own.task);
  for (const auto& work : left) work();
}

// Null after the result.
std::function<void()> BlockingCall::next() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return hasEnded_ || !posted_.empty(); });
  if (hasEnded_) return nullptr;
  auto work = std::move(posted_.front());
  posted_.erase(posted_.begin());
  return work;
}

}  // namespace tilvanego::detail
