#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace [[gnu::visibility("default")]] tilvanego {

/// How far a piece of work has come, in units (bytes for a request). All operations may be called from any
/// thread.
class Progress {
 public:
  /// Unknown total: -1.
  explicit Progress(std::int64_t totalUnitCount = -1) : total_(totalUnitCount) {}

  [[nodiscard]] std::int64_t totalUnitCount() const;
  [[nodiscard]] std::int64_t completedUnitCount() const;
  /// From 0 to 1; 0 while the total is unknown.
  [[nodiscard]] double fractionCompleted() const;
  [[nodiscard]] bool isIndeterminate() const { return totalUnitCount() < 0; }
  [[nodiscard]] bool isFinished() const;
  [[nodiscard]] bool isCancelled() const;

  /// Asks the work to stop: runs the cancellation handler, once.
  void cancel();

  /// Calls `observer` after every change, on the thread that made it, without a lock held, until the returned
  /// number is given to `removeObserver`. An observer that is just running may run on for that one call. An
  /// empty one is nothing to call.
  ///
  /// May throw: an observer only listens, so that the exception is dropped after one line on standard error.
  int addObserver(std::function<void(const Progress&)> observer);
  /// What the observer holds ends here, without a lock held, or with the call that it is running in.
  void removeObserver(int number);

  /// For who does the work. Called at once if the work was cancelled before. May throw, as an observer may.
  void setCancellationHandler(std::function<void()> handler);
  void update(std::int64_t completedUnitCount, std::int64_t totalUnitCount);

 private:
  /// Shared, so that a change of the list copies and ends nothing of a host's under the lock.
  using Observers = std::map<int, std::shared_ptr<const std::function<void(const Progress&)>>>;
  void notify() const;

  mutable std::mutex mutex_;
  std::int64_t total_;
  std::int64_t completed_ = 0;
  bool cancelled_ = false;
  int nextObserver_ = 0;
  /// Replaced as a whole, so that observers can be called without the lock.
  std::shared_ptr<const Observers> observers_ = std::make_shared<Observers>();
  std::function<void()> cancellationHandler_;
};

}  // namespace tilvanego
