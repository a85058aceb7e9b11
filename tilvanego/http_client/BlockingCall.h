#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <tilvanego/async/StopToken.h>
#include <tilvanego/http_client/RequestBuilder.h>
#include <tilvanego/network/URLSessionProtocol.h>

namespace tilvanego::detail {

/// A thread that waits in `RequestBuilder::send`. It sends the request itself: what is posted here runs on it
/// until the result comes. A class of the host may start more tries than the one that gives the result; the
/// session sends those that are left then, as for a call that nobody waits for.
class BlockingCall {
 public:
  using TaskPointer = std::shared_ptr<URLSessionDataTaskProtocol>;

  /// A try of the call.
  class Attempt {
   public:
    /// Called in a `catch` block around the start of the task.
    virtual void failToStart() noexcept = 0;

   protected:
    ~Attempt() = default;
  };

  /// For the calling thread.
  explicit BlockingCall(StopToken stopToken) : stopToken_(std::move(stopToken)) {}
  BlockingCall(const BlockingCall&) = delete;
  BlockingCall& operator=(const BlockingCall&) = delete;

  /// Returns the completion of a builder's request for this call. A completion that is destroyed without a
  /// call ends the call too.
  [[nodiscard]] static RequestBuilder::Completion completionOf(const std::shared_ptr<BlockingCall>& call);

  // For any thread.

  /// Ends the call with its result. Called once.
  void end(RequestBuilder::Result&& result);
  /// The same for a completion that is destroyed without a call.
  void endDropped();

  /// Lets the waiting thread start the task of a try, or cancel it if the call was stopped. Allocates nothing
  /// on the waiting thread. Throws std::bad_alloc on another one, and what the task throws.
  void start(const std::shared_ptr<Attempt>& attempt, const TaskPointer& task);
  /// Runs `work`, which must not throw, on the waiting thread. Returns false after the end: it runs nowhere.
  [[nodiscard]] bool post(std::function<void()> work);

  // For the thread of the constructor. One of these must be called, as the last.

  /// Runs what is posted, and returns the result.
  [[nodiscard]] RequestBuilder::Result wait();
  /// Doesn't wait.
  void leave() noexcept;

 private:
  struct Start {
    std::shared_ptr<Attempt> attempt;
    TaskPointer task;
  };

  /// Whether this is the waiting thread, which uses its own members without the lock.
  [[nodiscard]] bool isOwnThread() const { return std::this_thread::get_id() == thread_; }
  void startHere(Attempt& attempt, URLSessionDataTaskProtocol& task) noexcept;
  [[nodiscard]] std::function<void()> next();

  const StopToken stopToken_;
  const std::thread::id thread_ = std::this_thread::get_id();

  // Used by the waiting thread only: nearly all calls need no more.
  Start ownStart_;
  bool hasEndedHere_ = false;

  /// Written by the thread that ends the call: under the lock, unless it is the waiting one.
  std::optional<RequestBuilder::Result> result_;
  /// Whether the thread has left. Set under the lock.
  std::atomic<bool> isOver_ = false;

  /// Guards the members below.
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::function<void()>> posted_;
  bool hasEnded_ = false;
};

}  // namespace tilvanego::detail
