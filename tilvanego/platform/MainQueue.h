#pragma once

#include <functional>
#include <memory>

namespace [[gnu::visibility("default")]] tilvanego {

/// The queue of the main thread: blocks put on it run one at a time, in the order of their posting, on that
/// thread.
///
/// All of the library's core is bound to this thread. Every operation, completion and hook runs on it.
///
/// A queue may end before the process does, as one that lives in `main` beside the host's loop: whoever may
/// outlive it, a thread or the process's instance of the library, reaches it by a `WeakMainQueue`. A queue is
/// destroyed on the main thread.
class MainQueue {
 public:
  MainQueue(const MainQueue&) = delete;
  MainQueue& operator=(const MainQueue&) = delete;
  virtual ~MainQueue();

  /// Has `block` run later on the main thread, never inside this call, not even when called there.
  /// May be called from any thread, and doesn't wait for the main thread. The queue owns the block until it
  /// has run. `block` isn't empty.
  ///
  /// May not throw: the library tells some outcomes here alone, so the process ends then, after one line on
  /// standard error that names this function.
  virtual void post(std::function<void()> block) = 0;

  /// True on the main thread. May be called from any thread. May not throw.
  [[nodiscard]] virtual bool isCurrent() const = 0;

 protected:
  MainQueue();

  /// Lets nobody in by a `WeakMainQueue` from now on, and returns once nobody is inside. The first line of
  /// each derived class's destructor: later on another thread could call `post` on a half-destroyed queue.
  void end() noexcept;

 private:
  friend class WeakMainQueue;
  struct Life;

  std::shared_ptr<Life> life_;
};

/// A way to a main queue that may have ended. Copies lead to the same queue; used on any thread.
class WeakMainQueue {
 public:
  WeakMainQueue(const MainQueue& queue) : life_(queue.life_) {}

  /// Posts the block; false, and the block is dropped, once the queue has ended.
  bool post(std::function<void()> block) const;

  /// True on the main thread. Once the queue has ended, that is the thread that ended it.
  [[nodiscard]] bool isCurrent() const;

 private:
  std::shared_ptr<MainQueue::Life> life_;
};

}  // namespace tilvanego
