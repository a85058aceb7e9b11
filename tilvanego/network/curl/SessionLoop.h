#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <curl/curl.h>

#include <tilvanego/network/curl/ExitGate.h>
#include <tilvanego/network/curl/SessionTask.h>
#include <tilvanego/network/curl/Transfer.h>

namespace tilvanego::detail {

/// The thread of a session, and what it works on. Shared by the session, its tasks and the thread itself, so
/// that it is there as long as any of them.
///
/// Tasks come in by `submit` from any thread; everything of libcurl belongs to the thread that runs at the
/// moment, of which there is never more than one.
class SessionLoop : public std::enable_shared_from_this<SessionLoop> {
 public:
  explicit SessionLoop(TransferSettings settings);
  SessionLoop(const SessionLoop&) = delete;
  SessionLoop& operator=(const SessionLoop&) = delete;
  ~SessionLoop();

  [[nodiscard]] const URLSessionConfiguration& configuration() const { return settings_.configuration; }

  /// Has the thread start the task, or end it if it is cancelled. Starts the thread if none runs. May be
  /// called from any thread. Throws std::bad_alloc or std::system_error if memory or threads are short; then
  /// nothing has happened.
  void submit(std::shared_ptr<SessionTask> task);

  /// Forgets the cookies, and what handles keep of the last requests, before it starts any later task. May be
  /// called from any thread.
  void clearCookies();

  /// Ends all tasks as cancelled, from now on, and the thread; waits for both, except on that thread, or if
  /// the process exits. Once, by the session's destructor.
  void close();

  /// Has the thread look around. May be called from any thread while the thread runs.
  void wake() { curl_multi_wakeup(handles_->multi.get()); }

 private:
  using Clock = Transfer::Clock;

  struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
  };
  struct ShareDeleter {
    void operator()(CURLSH* share) const { curl_share_cleanup(share); }
  };

  /// All that is libcurl's; what stands below uses what stands above.
  struct Handles {
    std::unique_ptr<CURLSH, ShareDeleter> share;
    std::unique_ptr<CURLM, MultiDeleter> multi;
    /// Those with a task.
    std::vector<std::unique_ptr<Transfer>> active;
    /// Handles without a task, with what libcurl keeps in them from one request to the next.
    std::vector<std::unique_ptr<Transfer>> spare;
  };

  void startThread();
  static void runThread(std::shared_ptr<SessionLoop> loop) noexcept;
  void run();
  bool takeArrived(std::vector<std::shared_ptr<SessionTask>>& arrived);
  void waitForWork();

  void process(const std::shared_ptr<SessionTask>& task);
  void start(const std::shared_ptr<SessionTask>& task);
  void send(Transfer& transfer);
  void deleteCookies();
  void noteActivity();
  void finishEnded();
  void failOverdue();
  void fail(Transfer& transfer, TransportError::Code code, const char* message);
  void finish(Transfer& transfer, Outcome outcome);
  void complete(std::shared_ptr<SessionTask> task, Outcome outcome);

  const TransferSettings settings_;
  ExitGate& gate_;
  std::shared_ptr<Handles> handles_ = std::make_shared<Handles>();

  /// Guards what stands up to the next blank line.
  std::mutex mutex_;
  std::vector<std::shared_ptr<SessionTask>> inbox_;
  std::thread thread_;
  bool running_ = false;
  bool closed_ = false;
  bool clearCookiesRequested_ = false;
  /// The thread waits, or is about to, and wants to be woken for what comes.
  bool asleep_ = false;

  // The thread's own.
  bool closing_ = false;
  bool clearingCookies_ = false;
  /// Has room for all active transfers.
  Transfer::Touched touched_;
  /// When libcurl last had its turn: asking the clock costs more than what hangs on it.
  Clock::time_point now_;
  /// No transfer is to be given up before.
  Clock::time_point nextDeadline_ = Clock::time_point::max();
};

}  // namespace tilvanego::detail
