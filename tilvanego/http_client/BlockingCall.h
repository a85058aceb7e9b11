#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include <tilvanego/async/StopToken.h>
#include <tilvanego/http_client/RequestBuilder.h>

namespace tilvanego::detail {

/// A thread that waits in `RequestBuilder::send`. It sends the request itself: what is posted here runs on it
/// until the result comes.
class BlockingCall {
 public:
  explicit BlockingCall(StopToken stopToken) : stopToken_(std::move(stopToken)) {}
  BlockingCall(const BlockingCall&) = delete;
  BlockingCall& operator=(const BlockingCall&) = delete;

  /// Returns the completion of a builder's request for this call. A completion that is destroyed without a
  /// call ends the call too.
  [[nodiscard]] static RequestBuilder::Completion completionOf(const std::shared_ptr<BlockingCall>& call);

  /// Ends the call with its result. Called once.
  void end(RequestBuilder::Result result);
  /// The same for a completion that is destroyed without a call.
  void endDropped();

  /// Runs `work`, which must not throw, on the waiting thread; after the end nowhere. May be called from any
  /// thread.
  void post(std::function<void()> work);

  /// Runs what is posted, and returns the result.
  [[nodiscard]] RequestBuilder::Result wait();

  /// Whether the call must be cancelled before it sends a further request.
  [[nodiscard]] bool isStopped() const { return stopToken_.stopRequested(); }

 private:
  [[nodiscard]] std::function<void()> next();

  const StopToken stopToken_;
  std::mutex mutex_;
  std::condition_variable changed_;
  /// What is posted first, which mostly is all, and the rest.
  std::function<void()> first_;
  std::vector<std::function<void()>> posted_;
  std::optional<RequestBuilder::Result> result_;
  bool isOver_ = false;
};

}  // namespace tilvanego::detail
