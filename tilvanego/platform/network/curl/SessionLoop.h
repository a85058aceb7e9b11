#pragma once

#include <tilvanego/platform/network/curl/SessionTask.h>
#include <tilvanego/platform/network/curl/Transfer.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <curl/curl.h>

namespace tilvanego::detail {

/// The thread of a session, and what it works on. Shared by the session, its tasks and the thread itself, so
/// that it is there as long as any of them.
///
/// Tasks come in by `lookAt` from any thread; everything of libcurl belongs to the thread that runs at the
/// moment, of which there is never more than one.
class SessionLoop : public std::enable_shared_from_this<SessionLoop> {
 public:
  explicit SessionLoop(TransferSettings settings);
  SessionLoop(const SessionLoop&) = delete;
  SessionLoop& operator=(const SessionLoop&) = delete;
  ~SessionLoop();

  [[nodiscard]] const URLSessionConfiguration& configuration() const { return settings_.configuration; }

  /// Has the thread start the task, or end it if it is cancelled. Starts the thread if none runs. May be
  /// called from any thread.
  void lookAt(std::shared_ptr<SessionTask> task);

  /// Ends all tasks as cancelled, from now on, and the thread; waits for both, except on that thread. Once,
  /// by the session's destructor.
  void close();

 private:
  using Clock = Transfer::Clock;

  struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
  };
  struct ShareDeleter {
    void operator()(CURLSH* share) const { curl_share_cleanup(share); }
  };

  void startThread();
  void run();
  bool takeArrived(std::vector<std::shared_ptr<SessionTask>>& arrived);
  void waitForWork();

  void attendTo(const std::shared_ptr<SessionTask>& task);
  void start(std::shared_ptr<SessionTask> task);
  void send(Transfer& transfer);
  void noteActivity();
  void finishEnded();
  void giveUpIdle();
  void giveUp(Transfer& transfer, TransportError::Code code, const char* message);
  void finish(Transfer& transfer, Outcome outcome);

  const TransferSettings settings_;
  std::unique_ptr<CURLSH, ShareDeleter> share_;
  std::unique_ptr<CURLM, MultiDeleter> multi_;

  /// Guards what stands up to the next blank line.
  std::mutex mutex_;
  std::vector<std::shared_ptr<SessionTask>> inbox_;
  std::thread thread_;
  bool running_ = false;
  bool closed_ = false;
  /// The thread waits, or is about to, and wants to be woken for what comes.
  bool asleep_ = false;

  // The thread's own.
  bool closing_ = false;
  Transfer::Touched touched_;
  std::vector<std::unique_ptr<Transfer>> active_;
  /// Handles without a task, with what libcurl keeps in them from one request to the next.
  std::vector<std::unique_ptr<Transfer>> spare_;
  /// When libcurl last had its turn: asking the clock costs more than what hangs on it.
  Clock::time_point now_;
  /// No transfer is to be given up before.
  Clock::time_point nextDeadline_ = Clock::time_point::max();
};

}  // namespace tilvanego::detail
