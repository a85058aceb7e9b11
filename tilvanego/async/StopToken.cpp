#include <tilvanego/async/StopToken.h>

#include <algorithm>

#include <tilvanego/platform/HostCode.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

// Destroys the action, too.
void run(std::function<void()> action) {
  if (action) runListener("the action of a StopCallback", action);
}

}  // namespace

bool StopState::requested() const {
  const std::lock_guard held(mutex_);
  return requested_;
}

bool StopState::request() {
  std::unique_lock held(mutex_);
  if (std::exchange(requested_, true)) return false;
  runner_ = std::this_thread::get_id();
  while (!callbacks_.empty()) {
    running_ = callbacks_.back();
    callbacks_.pop_back();
    // Moved out of the callback, which its own action may destroy. What the action captures is destroyed
    // without the lock, too: it may be another callback.
    auto action = std::exchange(running_->action_, nullptr);
    held.unlock();
    run(std::move(action));
    held.lock();
    running_ = nullptr;
    ended_.notify_all();
  }
  return true;
}

void StopState::add(StopCallback& callback) {
  {
    const std::lock_guard held(mutex_);
    if (!requested_) {
      callbacks_.push_back(&callback);
      return;
    }
  }
  run(std::exchange(callback.action_, nullptr));
}

void StopState::remove(StopCallback& callback) {
  std::unique_lock held(mutex_);
  if (std::erase(callbacks_, &callback) > 0) return;
  if (runner_ == std::this_thread::get_id()) return;
  ended_.wait(held, [&] { return running_ != &callback; });
}

}  // namespace support
}  // namespace tilvanego
