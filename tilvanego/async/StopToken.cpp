#include <tilvanego/async/StopToken.h>

#include <tilvanego/platform/HostCode.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

using Action = std::function<void()>;

// Takes the action out of a callback by a swap: what a move leaves behind may be a second copy (in libc++),
// whose end is host code, too.
Action taken(Action& action) {
  Action result;
  result.swap(action);
  return result;
}

// Runs the action and destroys it.
void run(Action& action) {
  if (action) runListener("the action of a StopCallback", action);
  action = nullptr;
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
    Action action = taken(running_->action_);
    held.unlock();
    run(action);
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
  Action action = taken(callback.action_);
  run(action);
}

void StopState::remove(StopCallback& callback) {
  std::unique_lock held(mutex_);
  if (std::erase(callbacks_, &callback) > 0) return;
  if (runner_ == std::this_thread::get_id()) return;
  ended_.wait(held, [&] { return running_ != &callback; });
}

}  // namespace support
}  // namespace tilvanego
