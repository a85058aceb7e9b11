#include <tilvanego/platform/RunLoop.h>

#include <utility>

#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>

namespace [[gnu::visibility("default")]] tilvanego {

// Makes the calling thread the main thread, and is the innermost drain meanwhile. Must be created and
// destroyed without the loop's mutex held.
class RunLoop::Drain {
 public:
  explicit Drain(RunLoop& loop) : loop_(&loop) {
    const auto self = std::this_thread::get_id();
    const std::scoped_lock lock(loop.mutex_);
    if (loop.drain_ != nullptr && loop.mainThread_.load() != self) {
      detail::wrongUse("a RunLoop is drained by two threads at once. Drain it on the main thread alone.");
    }
    loop.mainThread_.store(self);
    outer_ = std::exchange(loop.drain_, this);
  }
  Drain(const Drain&) = delete;
  Drain& operator=(const Drain&) = delete;
  ~Drain() {
    if (loop_ == nullptr) return;
    const std::scoped_lock lock(loop_->mutex_);
    loop_->drain_ = outer_;
  }

  /// What is left to run, one by one; nothing once a block has destroyed the loop.
  std::function<void()> next(std::function<void()> (RunLoop::*take)()) const {
    return loop_ == nullptr ? nullptr : (loop_->*take)();
  }
  /// The loop is being destroyed, on the thread that drains it.
  static void endAll(Drain* innermost) noexcept {
    for (Drain* one = innermost; one != nullptr; one = one->outer_) one->loop_ = nullptr;
  }

 private:
  RunLoop* loop_;
  Drain* outer_ = nullptr;
};

RunLoop::RunLoop() : mainThread_(std::this_thread::get_id()) {}

RunLoop& RunLoop::main() {
  // Never destroyed: threads that outlive the program's main function may still post to it.
  static RunLoop& loop = *new RunLoop;
  return loop;
}

RunLoop::~RunLoop() {
  end();
  Drain::endAll(drain_);
  // Destroyed after the lock is released: their captures may post, and the loop then drops the blocks.
  std::deque<std::function<void()>> dropped;
  std::function<void()> wakeUp;
  const std::scoped_lock lock(mutex_);
  ended_ = true;
  dropped.swap(blocks_);
  wakeUp.swap(wakeUp_);
}

void RunLoop::post(std::function<void()> block) {
  if (!block) detail::wrongUse("RunLoop::post was given an empty block.");
  const std::scoped_lock lock(mutex_);
  if (ended_) return;
  blocks_.push_back(std::move(block));
  wake();
  changed_.notify_all();
}

bool RunLoop::isCurrent() const { return mainThread_.load() == std::this_thread::get_id(); }

void RunLoop::run() {
  const Drain drain(*this);
  while (const auto block = drain.next(&RunLoop::nextUntilStopped)) block();
}

std::size_t RunLoop::runPending() {
  const Drain drain(*this);
  std::size_t count = 0;
  for (; const auto block = drain.next(&RunLoop::nextIfAny); ++count) block();
  return count;
}

void RunLoop::stop() {
  const std::scoped_lock lock(mutex_);
  stopped_ = true;
  changed_.notify_all();
}

void RunLoop::setWakeUp(std::function<void()> wakeUp) {
  const std::scoped_lock lock(mutex_);
  wakeUp_.swap(wakeUp);
  if (!blocks_.empty()) wake();
}

void RunLoop::wake() const {
  if (wakeUp_) detail::runListener("The wake-up function of RunLoop", wakeUp_);
}

std::function<void()> RunLoop::nextUntilStopped() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return stopped_ || !blocks_.empty(); });
  return std::exchange(stopped_, false) ? nullptr : takeFront();
}

std::function<void()> RunLoop::nextIfAny() {
  const std::scoped_lock lock(mutex_);
  return blocks_.empty() ? nullptr : takeFront();
}

std::function<void()> RunLoop::takeFront() {
  auto block = std::move(blocks_.front());
  blocks_.pop_front();
  return block;
}

}  // namespace tilvanego
