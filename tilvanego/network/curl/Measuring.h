#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include <curl/curl.h>

#include <tilvanego/network/TransferMetrics.h>
#include <tilvanego/network/curl/ExitGate.h>

namespace tilvanego::detail {

struct Outcome;

/// Measures one task for an observer. Used by the thread that sends the task.
class Measuring {
 public:
  using Clock = std::chrono::steady_clock;

  /// Tells the observer of the start. Both arguments must outlive this object.
  Measuring(TransferObserver& observer, ExitGate& gate, const URLRequest& request);

  /// Called when one more request is prepared.
  void noteTry() { ++metrics_->tries; }
  /// Adds what libcurl has measured of a request that has ended or is aborted.
  void add(CURL* handle, bool isBodySentWithHead);
  [[nodiscard]] std::shared_ptr<const TransferMetrics> metrics() const { return metrics_; }
  /// Tells the observer of the end.
  void end(const URLRequest& request, const Outcome& outcome, int redirects);

 private:
  TransferObserver& observer_;
  ExitGate& gate_;
  const Clock::time_point start_ = Clock::now();
  /// The response has it too, which nobody sees before the end.
  const std::shared_ptr<TransferMetrics> metrics_ = std::make_shared<TransferMetrics>();
  std::shared_ptr<void> span_;
};

}  // namespace tilvanego::detail
