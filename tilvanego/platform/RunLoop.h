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

/// The main queue of a host without an event loop of its own: a serial executor that the host drains.
///
/// The main thread is the thread that drains the loop; before the first drain, the thread that made it.
/// Draining from two threads at once terminates the process. Blocks that never ran are dropped with the loop,
/// and so are those that the library's threads post later on: a loop may live in `main`.
///
/// A block may drain the loop again; the inner drain goes on with the next block. What a block throws leaves
/// the drain that ran it, the block is gone, and the loop can be drained further.
class RunLoop final : public MainQueue {
 public:
  RunLoop();
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;
  ~RunLoop() override;

  /// The process's default loop. It is made on first use, by the thread that is taken for the main thread
  /// until another one drains it, and lives to the end of the process.
  static RunLoop& main();

  void post(std::function<void()> block) override;
  [[nodiscard]] bool isCurrent() const override;

  /// Runs blocks, and waits for more, until `stop()`.
  void run();

  /// Runs blocks until none is queued, those posted meanwhile included, and gives their number. Never waits.
  /// A block that always posts itself anew keeps this from returning.
  std::size_t runPending();

  /// Ends the innermost `run()` after the block that it is running; without one, the next `run()` returns at
  /// once. `runPending()` doesn't heed it. Blocks still queued stay so. May be called from any thread.
  void stop();

  /// Sets a function that tells a poll loop, by an eventfd say, that `runPending()` has something to do. It
  /// is called for each post, on the posting thread, and at once if blocks are waiting already. It is called
  /// with the queue locked: it must be short and must not call the loop. It only listens: what it throws is
  /// dropped after one line on standard error. When this returns, an earlier function isn't running and won't
  /// be called again. An empty function means none; one that uses what ends before the loop is taken away so.
  void setWakeUp(std::function<void()> wakeUp);

 private:
  class Drain;
  // Both give an empty function for the end of a drain; takeFront() expects the mutex to be held.
  std::function<void()> nextUntilStopped();
  std::function<void()> nextIfAny();
  std::function<void()> takeFront();
  // Expects the mutex to be held.
  void wake() const;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> blocks_;
  std::function<void()> wakeUp_;
  bool stopped_ = false;
  bool ended_ = false;
  std::size_t drains_ = 0;
  std::atomic<std::thread::id> mainThread_;
};

}  // namespace tilvanego
