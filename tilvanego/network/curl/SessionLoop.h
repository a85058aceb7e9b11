#pragma once

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <curl/curl.h>

#include <tilvanego/network/curl/Callers.h>
#include <tilvanego/network/curl/ExitGate.h>
#include <tilvanego/network/curl/Lane.h>
#include <tilvanego/network/curl/SessionTask.h>
#include <tilvanego/network/curl/ShareLocks.h>
#include <tilvanego/network/curl/Transfer.h>
#include <tilvanego/values/Release.h>

namespace tilvanego::detail {

/// The thread of a session and its transfers. The session, its tasks and the thread share this object.
///
/// Any thread may call `submit`. Only the session's thread uses the multi handle; at most one such thread
/// runs at a time. Threads of the host that send requests themselves have handles of their own, in the lanes;
/// all handles share the cookies and the TLS sessions.
class SessionLoop : public std::enable_shared_from_this<SessionLoop> {
 public:
  explicit SessionLoop(TransferSettings settings);
  SessionLoop(const SessionLoop&) = delete;
  SessionLoop& operator=(const SessionLoop&) = delete;
  ~SessionLoop();

  [[nodiscard]] const URLSessionConfiguration& configuration() const { return settings_.configuration; }

  /// Queues the task: the thread starts it, or ends it if it is cancelled. Starts the thread if none runs.
  /// May be called from any thread. Throws std::bad_alloc or std::system_error if memory or threads are
  /// short; the task isn't queued then.
  void submit(std::shared_ptr<SessionTask> task);

  /// The requests that threads of the host send themselves.
  [[nodiscard]] Callers& callers() { return callers_; }

  /// Returns the cookies. May be called from any thread.
  [[nodiscard]] std::vector<HTTPCookie> cookies() const;
  /// Deletes the cookies. May be called from any thread.
  void clearCookies();

  /// Ends all tasks, also later ones, as cancelled, and then the thread. Waits for the thread, except on that
  /// thread itself or if the process exits. Called once, by the session's destructor.
  void close();

  /// Wakes the thread. May be called from any thread while the thread runs.
  void wake() { curl_multi_wakeup(handles_->multi.get()); }

 private:
  using Clock = Transfer::Clock;

  /// All objects of libcurl. The order matters: each uses those above it.
  struct Handles {
    ShareLocks shareLocks;
    Sockets sockets;
    std::unique_ptr<CURLSH, Release<curl_share_cleanup>> share;
    std::unique_ptr<CURLM, Release<curl_multi_cleanup>> multi;
    std::vector<std::unique_ptr<Transfer>> active;
    /// Ended ones, whose handles the next requests take.
    std::vector<std::unique_ptr<Transfer>> idle;
    Callers::Lanes lanes;

    Handles();
  };

  void startThread();
  static void runThread(std::shared_ptr<SessionLoop> loop) noexcept;
  void run();
  bool takeArrived(std::vector<std::shared_ptr<SessionTask>>& arrived);
  void waitForWork();

  void process(const std::shared_ptr<SessionTask>& task);
  void start(const std::shared_ptr<SessionTask>& task);
  void send(Transfer& transfer);
  void noteActivity();
  void finishEnded();
  void failOverdue();
  void fail(Transfer& transfer, TransportError::Code code, const char* message);
  void finish(Transfer& transfer, Outcome outcome);
  void complete(std::shared_ptr<SessionTask> task, Outcome outcome);

  const TransferSettings settings_;
  ExitGate& gate_;
  std::shared_ptr<Handles> handles_;
  Callers callers_;

  /// Guards the members up to the next blank line.
  std::mutex mutex_;
  std::vector<std::shared_ptr<SessionTask>> inbox_;
  std::thread thread_;
  bool running_ = false;
  bool closed_ = false;
  /// The thread waits, or is about to: the thread that adds work must wake it.
  bool asleep_ = false;

  // Used by the thread only.
  bool closing_ = false;
  /// Its capacity suffices for all active transfers.
  Transfer::Touched touched_;
  /// The time after libcurl's last call, so that the clock is read once for each round.
  Clock::time_point now_;
  /// No transfer times out before.
  Clock::time_point nextDeadline_ = Clock::time_point::max();
};

}  // namespace tilvanego::detail
