#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace tilvanego {

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
  /// number is given to `removeObserver`. An observer that is just running may run on for that one call.
  int addObserver(std::function<void(const Progress&)> observer);
  void removeObserver(int number);

  /// For who does the work.
  void setCancellationHandler(std::function<void()> handler);
  void update(std::int64_t completedUnitCount, std::int64_t totalUnitCount);

 private:
  using Observers = std::map<int, std::function<void(const Progress&)>>;
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
