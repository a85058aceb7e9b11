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

/// Ends a call once: with a result, or at the latest when it is destroyed.
class BlockingCall::Ending {
 public:
  explicit Ending(std::shared_ptr<BlockingCall> call) : call_(std::move(call)) {}
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;
  ~Ending() {
    if (call_) {
      end(std::unexpected(
          ErrorResponse::error(ErrorResponse::notExecuted, std::nullopt, nullptr, DroppedCompletion())));
    }
  }

  void end(RequestBuilder::Result result) {
    const auto call = std::exchange(call_, nullptr);
    const std::lock_guard held(call->mutex_);
    call->result_ = std::move(result);
    call->changed_.notify_one();
  }

 private:
  std::shared_ptr<BlockingCall> call_;
};

RequestBuilder::Completion BlockingCall::completionOf(const std::shared_ptr<BlockingCall>& call) {
  auto ending = std::make_shared<Ending>(call);
  return CallCompletion(std::make_shared<WholeCall>(
      [ending = std::move(ending)](RequestBuilder::Result result) { ending->end(std::move(result)); }, call));
}

void BlockingCall::post(std::function<void()> work) {
  const std::lock_guard held(mutex_);
  if (isOver_) return;
  posted_.push_back(std::move(work));
  changed_.notify_one();
}

RequestBuilder::Result BlockingCall::wait() {
  while (const auto work = next()) work();
  // Posted work holds this call.
  std::vector<std::function<void()>> left;
  const std::lock_guard held(mutex_);
  isOver_ = true;
  left.swap(posted_);
  return *std::move(result_);
}

// Null after the result.
std::function<void()> BlockingCall::next() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return result_ || !posted_.empty(); });
  if (result_) return nullptr;
  auto work = std::move(posted_.front());
  posted_.erase(posted_.begin());
  return work;
}

}  // namespace tilvanego::detail
