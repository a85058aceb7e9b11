#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include <tilvanego/platform/MainQueue.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The main queue of a host without its own event loop. Blocks run when the host drains the loop: calls
/// `run()` or `runPending()`.
///
/// The main thread is the thread that drains the loop; before the first drain, the thread that created it. If
/// two threads drain it at the same time, the process ends. A loop may be a variable in `main`: blocks that
/// have not run when it is destroyed are dropped, and so are blocks that the library's threads post later.
///
/// A block may drain the loop again; the inner drain continues with the next block. If a block throws, the
/// exception leaves `run()` or `runPending()`. The block is then removed, and the loop can be drained again.
/// A block may destroy the loop: each drain returns when its block has.
class RunLoop final : public MainQueue {
 public:
  RunLoop();
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;
  ~RunLoop() override;

  /// Returns the default loop of the process. The first call creates it; the calling thread is the main
  /// thread until another thread drains the loop. It exists until the process ends.
  static RunLoop& main();

  void post(std::function<void()> block) override;
  [[nodiscard]] bool isCurrent() const override;

  /// Runs blocks, and waits for more, until `stop()` is called.
  void run();

  /// Runs all queued blocks, also those that are posted meanwhile, and returns their number. Never waits. If
  /// a block always posts itself again, this never returns.
  std::size_t runPending();

  /// Ends the innermost `run()` after its current block. If none is running, the next `run()` returns at
  /// once. `runPending()` ignores it. Queued blocks stay queued. Any thread may call this.
  void stop();

  /// Sets a function that wakes a poll loop, for example by an eventfd, so that it calls `runPending()`. The
  /// function is called on each post, on the posting thread, and at once if blocks are queued. It is called
  /// with the queue locked: it must be short and must not call the loop. May throw: the exception is dropped
  /// after one line on standard error. When this returns, the former function is not running and will not be
  /// called again. An empty function removes it; remove a function before an object that it uses is
  /// destroyed.
  void setWakeUp(std::function<void()> wakeUp);

 private:
  class Drain;
  /// Both return an empty function at the end of a drain. The caller of takeFront() must hold the mutex.
  std::function<void()> nextUntilStopped();
  std::function<void()> nextIfAny();
  std::function<void()> takeFront();
  /// The caller must hold the mutex.
  void wake() const;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> blocks_;
  std::function<void()> wakeUp_;
  bool stopped_ = false;
  bool ended_ = false;
  /// The innermost one that runs.
  Drain* drain_ = nullptr;
  std::atomic<std::thread::id> mainThread_;
};

}  // namespace tilvanego
