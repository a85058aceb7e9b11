#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace [[gnu::visibility("default")]] tilvanego {

/// The progress of an operation in units, which are bytes for a request. All operations may be called from
/// any thread.
class Progress {
 public:
  /// A `totalUnitCount` of -1 means that the total is unknown.
  explicit Progress(std::int64_t totalUnitCount = -1) : total_(totalUnitCount) {}

  [[nodiscard]] std::int64_t totalUnitCount() const;
  [[nodiscard]] std::int64_t completedUnitCount() const;
  /// From 0 to 1. Returns 0 while the total is unknown.
  [[nodiscard]] double fractionCompleted() const;
  /// Whether the total is unknown.
  [[nodiscard]] bool isIndeterminate() const { return totalUnitCount() < 0; }
  [[nodiscard]] bool isFinished() const;
  [[nodiscard]] bool isCancelled() const;

  /// Cancels the operation: calls the cancellation handler, once.
  void cancel();

  /// Calls `observer` after every change, on the thread that made the change, without a lock held. Returns a
  /// number for `removeObserver`. An empty `observer` is never called.
  ///
  /// May throw: the exception is dropped after one line on standard error.
  int addObserver(std::function<void(const Progress&)> observer);
  /// Removes and destroys the observer, without a lock held. A call that is running on another thread ends
  /// normally, and the observer is destroyed after it.
  void removeObserver(int number);

  /// Called by the operation that reports progress. Calls `handler` at once if `cancel` was called before.
  /// May throw: the exception is dropped after one line on standard error.
  void setCancellationHandler(std::function<void()> handler);
  /// Called by the operation that reports progress.
  void update(std::int64_t completedUnitCount, std::int64_t totalUnitCount);

 private:
  /// Shared pointers, so that a change of the map neither copies nor destroys an observer under the lock.
  using Observers = std::map<int, std::shared_ptr<const std::function<void(const Progress&)>>>;
  void notify() const;

  mutable std::mutex mutex_;
  std::int64_t total_;
  std::int64_t completed_ = 0;
  bool cancelled_ = false;
  int nextObserver_ = 0;
  /// Immutable: a change replaces the map, so that observers can be called without the lock. Null until the
  /// first observer.
  std::shared_ptr<const Observers> observers_;
  std::function<void()> cancellationHandler_;
};

}  // namespace tilvanego
