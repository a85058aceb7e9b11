#include <tilvanego/platform/SystemTimer.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/SignalsBlocked.h>

namespace [[gnu::visibility("default")]] tilvanego {

class SystemTimer::Thread {
 public:
  Thread() {
    const detail::SignalsBlocked blocked;
    thread_ = std::thread([this] { run(); });
  }
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  ~Thread() {
    {
      const std::lock_guard held(mutex_);
      ended_ = true;
      changed_.notify_one();
    }
    thread_.join();
  }

  void add(std::chrono::milliseconds delay, std::function<void()> block) {
    // More than the clock can count is as good as never.
    constexpr std::chrono::milliseconds none{0};
    constexpr std::chrono::milliseconds longest = std::chrono::years(100);
    const auto due = std::chrono::steady_clock::now() + std::clamp(delay, none, longest);
    const std::lock_guard held(mutex_);
    waiting_.emplace(due, std::move(block));
    changed_.notify_one();
  }

 private:
  void run() {
    std::unique_lock held(mutex_);
    while (!ended_) {
      if (waiting_.empty()) {
        changed_.wait(held);
      } else if (const auto due = waiting_.begin()->first; due > std::chrono::steady_clock::now()) {
        changed_.wait_until(held, due);
      } else {
        auto first = waiting_.extract(waiting_.begin());
        held.unlock();
        detail::runListener("a block of SystemTimer", first.mapped());
        first = {};
        held.lock();
      }
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::multimap<std::chrono::steady_clock::time_point, std::function<void()>> waiting_;
  bool ended_ = false;
  std::thread thread_;
};

SystemTimer::SystemTimer() = default;
SystemTimer::~SystemTimer() = default;

void SystemTimer::after(std::chrono::milliseconds delay, std::function<void()> block) {
  if (!thread_) thread_ = std::make_unique<Thread>();
  thread_->add(delay, std::move(block));
}

}  // namespace tilvanego
