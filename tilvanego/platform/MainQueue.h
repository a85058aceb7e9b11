#pragma once

#include <functional>

namespace tilvanego {

/// The queue of the main thread: blocks put on it run one at a time, in the order of their posting, on that
/// thread.
///
/// All of the library's core is bound to this thread. Every operation, completion and hook runs on it.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// Has `block` run later on the main thread, never inside this call, not even when called there.
  /// May be called from any thread. The queue owns the block until it has run. `block` isn't empty.
  ///
  /// May not throw: the library tells some outcomes here alone, so the process ends then, after one line on
  /// standard error that names this function.
  virtual void post(std::function<void()> block) = 0;

  /// True on the main thread. May be called from any thread. May not throw.
  [[nodiscard]] virtual bool isCurrent() const = 0;
};

}  // namespace tilvanego
