#include <tilvanego/platform/MainQueue.h>

#include <mutex>
#include <shared_mutex>
#include <thread>
#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {

// Shared by a queue and its weak references. Posting takes the lock shared, so that threads do not block each
// other; the queue's end takes it exclusively.
struct MainQueue::Life {
  std::shared_mutex mutex;
  MainQueue* queue;
  std::thread::id endedOn;
};

MainQueue::MainQueue() : life_(std::make_shared<Life>()) { life_->queue = this; }

MainQueue::~MainQueue() { end(); }

void MainQueue::end() noexcept {
  const std::unique_lock lock(life_->mutex);
  life_->queue = nullptr;
  life_->endedOn = std::this_thread::get_id();
}

bool WeakMainQueue::post(std::function<void()> block) const {
  const std::shared_lock lock(life_->mutex);
  if (life_->queue == nullptr) return false;
  life_->queue->post(std::move(block));
  return true;
}

bool WeakMainQueue::isCurrent() const {
  const std::shared_lock lock(life_->mutex);
  return life_->queue != nullptr ? life_->queue->isCurrent() : life_->endedOn == std::this_thread::get_id();
}

}  // namespace tilvanego
