#pragma once

#include <chrono>
#include <functional>

namespace [[gnu::visibility("default")]] tilvanego {

/// The port that calls back after a while. Two things use it: the time-out of an awaited operation, on the
/// main thread only, and the pauses of a `RetryPolicy` that has one, on any thread, one call at a time.
class Timer {
 public:
  virtual ~Timer() = default;

  /// Calls `block`, which is not empty, once after `delay`: on any thread, and never inside this call. A
  /// delay of zero or less is over at once. Blocks that were not called when the timer ends are dropped.
  /// There is no way to take a block back: it does nothing if its operation is over. It does not throw.
  ///
  /// May throw: an awaited operation is then not started, and the exception leaves the await, in a later turn
  /// of the main queue; a request isn't retried.
  virtual void after(std::chrono::milliseconds delay, std::function<void()> block) = 0;
};

}  // namespace tilvanego
