#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include <tilvanego/network/URLSessionProtocol.h>

namespace tilvanego::detail {

class SessionLoop;
class Transfer;

/// One send, as the host holds it. The loop keeps it alive from `resume()` or `cancel()` to its end.
class SessionTask final : public URLSessionDataTaskProtocol,
                          public std::enable_shared_from_this<SessionTask> {
 public:
  SessionTask(std::shared_ptr<SessionLoop> loop, const URLRequest& request, DataTaskCompletion completion);

  void resume() override;
  [[nodiscard]] int taskIdentifier() const override { return identifier_; }
  [[nodiscard]] std::shared_ptr<Progress> progress() const override;
  void cancel() override;

  // What follows is for the loop's thread.

  [[nodiscard]] const URLRequest& request() const { return request_; }
  [[nodiscard]] bool isCancelled() const { return (state_.load() & cancelled) != 0; }
  [[nodiscard]] bool isFinished() const { return (state_.load() & finished) != 0; }

  /// Whether anyone ever asked for the progress.
  [[nodiscard]] bool hasProgress() const { return hasProgress_; }
  /// Tells the progress's observers; what they throw is dropped. Unknown total: -1.
  void report(std::int64_t completedUnitCount, std::int64_t totalUnitCount) noexcept;
  /// Runs the completion, and lets go of it and of the request. Not a second time. What the completion throws
  /// ends the process.
  void finish(std::optional<Data> data, URLResponsePointer response, std::optional<Failure> error) noexcept;

  /// What carries the task at the moment, if anything does.
  Transfer* transfer = nullptr;

 private:
  enum State : std::uint8_t { resumed = 1, cancelled = 2, finished = 4 };

  void enter(State state);

  const std::shared_ptr<SessionLoop> loop_;
  const int identifier_;
  std::atomic<std::uint8_t> state_ = 0;
  URLRequest request_;
  DataTaskCompletion completion_;

  /// Most tasks have nobody who looks at their progress, so it is made when it is asked for.
  mutable std::mutex progressMutex_;
  mutable std::shared_ptr<Progress> progress_;
  mutable std::atomic<bool> hasProgress_ = false;
};

}  // namespace tilvanego::detail
