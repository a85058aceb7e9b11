#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include <tilvanego/network/URLSessionProtocol.h>

namespace tilvanego::detail {

class SessionLoop;
class Transfer;
struct Outcome;

/// The task of a `URLSession`. The loop keeps it alive from `resume()` or `cancel()` until it ends.
class SessionTask final : public URLSessionDataTaskProtocol,
                          public std::enable_shared_from_this<SessionTask> {
 public:
  SessionTask(std::shared_ptr<SessionLoop> loop, std::shared_ptr<const URLRequest> request,
              DataTaskCompletion completion);

  void resume() override;
  void resumeHere() override;
  [[nodiscard]] int taskIdentifier() const override { return identifier_; }
  [[nodiscard]] std::shared_ptr<Progress> progress() const override;
  void cancel() override;

  /// Lets the response flow that its sink holds up. May be called from any thread.
  void goOn();

  // Called by the session's thread, or by the one that sends the request itself.

  /// May be called until the task ends.
  [[nodiscard]] const URLRequest& request() const { return *request_; }
  [[nodiscard]] bool isCancelled() const { return (state_.load() & cancelled) != 0; }
  /// Whether `goOn` was called since the last call of this.
  [[nodiscard]] bool takeGoOn() { return goesOn_ && goesOn_.exchange(false); }
  [[nodiscard]] bool isFinished() const { return (state_.load() & finished) != 0; }

  /// Whether `progress()` was ever called.
  [[nodiscard]] bool hasProgress() const { return hasProgress_; }
  /// Updates the progress and calls its observers. A total of -1 means unknown.
  void report(std::int64_t completedUnitCount, std::int64_t totalUnitCount) noexcept;
  /// Runs the completion on the session's thread, then destroys it and the request. A second call does
  /// nothing. An exception of the completion ends the process.
  void finish(Outcome outcome) noexcept;
  /// The same on a thread of the host. An exception of the completion leaves the call.
  void finishHere(Outcome&& outcome);

  /// The transfer of this task, or null.
  Transfer* transfer = nullptr;

 private:
  /// `sentHere`: a thread of the host sends the request.
  enum State : std::uint8_t { resumed = 1, cancelled = 2, finished = 4, sentHere = 8 };

  void enter(State state);
  [[nodiscard]] DataTaskCompletion takeCompletion();

  static inline std::atomic<int> lastIdentifier = 0;

  const std::shared_ptr<SessionLoop> loop_;
  const int identifier_ = ++lastIdentifier;
  std::atomic<std::uint8_t> state_ = 0;
  std::atomic<bool> goesOn_ = false;
  std::shared_ptr<const URLRequest> request_;
  DataTaskCompletion completion_;

  /// Created by the first call of `progress()`: most tasks don't need it.
  mutable std::mutex progressMutex_;
  mutable std::shared_ptr<Progress> progress_;
  mutable std::atomic<bool> hasProgress_ = false;
};

}  // namespace tilvanego::detail
