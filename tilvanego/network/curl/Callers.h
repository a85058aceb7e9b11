#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <curl/curl.h>

#include <tilvanego/network/curl/Lane.h>
#include <tilvanego/network/curl/SessionTask.h>
#include <tilvanego/network/curl/Transfer.h>

namespace tilvanego::detail {

/// The requests of a session that threads of the host send themselves, and the lanes that they take turns at.
/// A thread takes the lane that was used last, so a lone thread always finds its connections again.
class Callers {
 public:
  using Lanes = std::vector<std::unique_ptr<Lane>>;

  /// All arguments must outlive this object.
  Callers(const TransferSettings& settings, Lanes& lanes, CURLSH* share)
      : settings_(settings), gate_(*settings.gate), share_(share), lanes_(lanes) {}

  /// Sends the task on this thread and runs its completion here. An exception of the completion leaves the
  /// call.
  void send(const std::shared_ptr<SessionTask>& task);

  /// Lets the thread that sends the task see that it is cancelled. May be called from any thread.
  void wake(const SessionTask& task);

  /// Ends all requests, also later ones, as cancelled. Waits until those of other threads have ended, or the
  /// process exits. Called once.
  void close();

 private:
  /// A call of `send`, on its thread's stack.
  struct Call {
    const SessionTask& task;
    Lane* lane = nullptr;
    std::thread::id thread = std::this_thread::get_id();
    Call* next = nullptr;
    Call* previous = nullptr;
    bool isListed = false;
  };
  class Registration;

  [[nodiscard]] std::optional<Outcome> enter(Call& call);
  [[nodiscard]] std::optional<Outcome> takeLane(Call& call);
  void giveBack(Call& call);
  void count(int change);
  [[nodiscard]] bool isLaneFree() const;
  void complete(SessionTask& task, Outcome&& outcome);

  const TransferSettings& settings_;
  ExitGate& gate_;
  CURLSH* const share_;

  /// Guards the members up to the next blank line.
  std::mutex mutex_;
  std::condition_variable changed_;
  Lanes& lanes_;
  Call* calls_ = nullptr;
  std::vector<Lane*> idle_;
  int busy_ = 0;
  int waiting_ = 0;

  /// Written under the mutex.
  std::atomic<int> callCount_ = 0;
  std::atomic<bool> closed_ = false;
};

}  // namespace tilvanego::detail
