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

void BlockingCall::end(RequestBuilder::Result result) {
  const std::lock_guard held(mutex_);
  result_ = std::move(result);
  changed_.notify_one();
}

void BlockingCall::endDropped() {
  end(std::unexpected(
      ErrorResponse::error(ErrorResponse::notExecuted, std::nullopt, nullptr, DroppedCompletion())));
}

void BlockingCall::post(std::function<void()> work) {
  const std::lock_guard held(mutex_);
  if (isOver_) return;
  if (!first_ && posted_.empty()) {
    first_ = std::move(work);
  } else {
    posted_.push_back(std::move(work));
  }
  changed_.notify_one();
}

RequestBuilder::Result BlockingCall::wait() {
  while (const auto work = next()) work();
  // Posted work holds this call.
  std::function<void()> first;
  std::vector<std::function<void()>> left;
  const std::lock_guard held(mutex_);
  isOver_ = true;
  first.swap(first_);
  left.swap(posted_);
  return *std::move(result_);
}

// Null after the result.
std::function<void()> BlockingCall::next() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return result_ || first_ || !posted_.empty(); });
  if (result_) return nullptr;
  if (first_) return std::exchange(first_, nullptr);
  auto work = std::move(posted_.front());
  posted_.erase(posted_.begin());
  return work;
}

}  // namespace tilvanego::detail
