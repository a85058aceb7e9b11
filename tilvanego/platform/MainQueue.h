#pragma once

#include <functional>
#include <memory>

namespace [[gnu::visibility("default")]] tilvanego {

/// The queue of the main thread: runs blocks on that thread, one at a time, in the order in which they were
/// posted.
///
/// The library's core is used on this thread only. Every operation, completion and hook runs on it.
///
/// A queue may be destroyed before the process ends, on the main thread, such as a queue in `main`. Code that
/// may outlive a queue, such as a thread, must use a `WeakMainQueue`.
class MainQueue {
 public:
  MainQueue(const MainQueue&) = delete;
  MainQueue& operator=(const MainQueue&) = delete;
  virtual ~MainQueue();

  /// Runs `block`, which is not empty, later on the main thread, never inside this call. Any thread may call
  /// this. It must not wait for the main thread. The queue owns the block until it has run.
  ///
  /// Must not throw: the library has no other way to report some results, so the process then ends after one
  /// line on standard error that names this function.
  virtual void post(std::function<void()> block) = 0;

  /// Returns true on the main thread. Any thread may call this. Must not throw.
  [[nodiscard]] virtual bool isCurrent() const = 0;

 protected:
  MainQueue();

  /// Closes the queue for every `WeakMainQueue`, and waits for their calls that are running. Each derived
  /// class must call this first in its destructor: otherwise another thread could call `post` on a
  /// half-destroyed queue.
  void end() noexcept;

 private:
  friend class WeakMainQueue;
  struct Life;

  std::shared_ptr<Life> life_;
};

/// A weak reference to a main queue, which may be destroyed meanwhile. Any thread may use it.
class WeakMainQueue {
 public:
  WeakMainQueue(const MainQueue& queue) : life_(queue.life_) {}

  /// Posts the block. If the queue is destroyed, drops the block and returns false.
  bool post(std::function<void()> block) const;

  /// Returns true on the main thread. After the queue's end, that is the thread that destroyed it.
  [[nodiscard]] bool isCurrent() const;

 private:
  std::shared_ptr<MainQueue::Life> life_;
};

}  // namespace tilvanego
