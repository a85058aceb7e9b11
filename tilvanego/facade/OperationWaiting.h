#pragma once

#include <chrono>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/async/StopToken.h>
#include <tilvanego/async/Task.h>
#include <tilvanego/frame/OperationKind.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Until when an awaited operation is waited for.
class OperationWaiting {
 public:
  /// Until it ends, however long that takes.
  [[nodiscard]] static OperationWaiting untilItEnds() { return OperationWaiting(StopToken()); }

  /// Until `timeout` has passed since the await, or stopping is requested, whatever comes first.
  explicit OperationWaiting(StopToken stop, std::optional<std::chrono::milliseconds> timeout = std::nullopt)
      : stop_(std::move(stop)), timeout_(timeout) {}
  explicit OperationWaiting(std::chrono::milliseconds timeout) : timeout_(timeout) {}

  [[nodiscard]] const StopToken& stop() const { return stop_; }
  [[nodiscard]] std::optional<std::chrono::milliseconds> timeout() const { return timeout_; }

 private:
  StopToken stop_;
  std::optional<std::chrono::milliseconds> timeout_;
};

/// Thrown by an awaited operation whose time-out has passed. The host no longer waits; the payment
/// application was not told, so the customer may still pay.
class OperationTimedOut final : public std::exception {
 public:
  OperationTimedOut(OperationKind operation, std::chrono::milliseconds timeout);

  [[nodiscard]] OperationKind operation() const { return operation_; }
  [[nodiscard]] std::chrono::milliseconds timeout() const { return timeout_; }
  /// What happened and how to look up the outcome, in English, for the host's developer.
  [[nodiscard]] std::string description() const;
  /// A shorter text.
  [[nodiscard]] const char* what() const noexcept override;

 private:
  OperationKind operation_;
  std::chrono::milliseconds timeout_;
};

}  // namespace tilvanego
