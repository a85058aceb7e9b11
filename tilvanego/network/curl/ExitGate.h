#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <curl/curl.h>

namespace tilvanego::detail {

class SessionLoop;

/// Prevents sessions from using libcurl, and its TLS library, while the exit of the process cleans these up.
///
/// A thread enters the gate to use libcurl. The exit closes the gate before the TLS library's exit handler
/// runs: it waits until no thread is inside, and no thread can enter any more. The thread of a session then
/// blocks for ever, so that no completion starts after the exit has begun.
///
/// A fork closes the gate for its duration. Otherwise a thread of the parent could hold a lock of the TLS
/// library, and the exit handlers of the child would wait for it for ever.
class ExitGate {
 public:
  /// The gate of this process. A forked child has its own gate, because it has none of the parent's threads.
  [[nodiscard]] static ExitGate& ofProcess();
  ExitGate(const ExitGate&) = delete;
  ExitGate& operator=(const ExitGate&) = delete;

  /// False in a forked child for the gate of its parent, whose threads and locks don't exist here.
  [[nodiscard]] bool isOfProcess() const { return this == &ofProcess(); }

  // For a session that starts and ends its thread.

  /// Registers a loop, which is woken when the gate closes. The first call registers the exit handler.
  void add(SessionLoop& loop);
  void remove(const SessionLoop& loop);
  /// Waits until the loop is removed. Returns false if the process exits first.
  [[nodiscard]] bool waitUntilRemoved(const SessionLoop& loop);

  // For a session's thread, and another that has entered.

  /// Enters the gate, or blocks for ever if it is closed.
  void enter();
  /// Leaves and enters the gate while a fork holds it; blocks for ever if it is closed.
  void pass() {
    if (barred_) stepAside();
  }
  void leave();
  /// Runs a callback of the host outside the gate, because it may exit the process or wait for a thread that
  /// does. `call` must not throw. Ends a forked child that returns from it.
  template <typename Call>
  void runHostCode(Call&& call) {
    leaveForHostCode();
    call();
    comeBackFromHostCode();
  }

  // For any thread.

  /// Enters the gate, or returns false if it is closed.
  [[nodiscard]] bool tryToEnter();
  /// Enters the gate. If it is closed, returns false on the thread that exits the process, and blocks any
  /// other for ever. `waiting`, what the thread waits in, is woken when the gate closes; null if it doesn't
  /// wait. Throws std::bad_alloc if memory is short; the thread hasn't entered then.
  [[nodiscard]] bool enterUnlessExiting(CURLM* waiting);
  /// Leaves after that, and runs a last callback of the host, unless the gate is closed: then it blocks for
  /// ever. An exception of the callback leaves the call.
  template <typename Call>
  void leaveWith(CURLM* waiting, Call&& call) {
    struct Ended {
      ExitGate& gate;
      ~Ended() { gate.endHostCode(); }
    };
    leaveForLastHostCode(waiting);
    const Ended ended{*this};
    std::forward<Call>(call)();
  }
  /// Waits until the condition holds, which is looked at after each `notify`, or until the process exits.
  template <typename Condition>
  void waitUnlessClosed(const Condition& holds) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return closed_ || holds(); });
  }
  void notify();
  /// Keeps an object that can't be destroyed safely any more.
  void keep(std::shared_ptr<void> object);

 private:
  ExitGate() = default;
  static void closeAtExit();
  static void holdForFork();
  static void goOnAfterFork();
  static void replaceInChild();
  void close();
  void leaveForHostCode();
  void leaveForHostCode(std::unique_lock<std::mutex>& lock);
  void comeBackFromHostCode();
  void leaveForLastHostCode(CURLM* waiting);
  void endHostCode();
  void requireOwnProcess() const;
  void stepAside();
  void wakeAll();
  static void registerAtExit();
  void waitAndEnter(std::unique_lock<std::mutex>& lock);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<SessionLoop*> loops_;
  /// What the threads that aren't a session's wait in.
  std::vector<CURLM*> waiting_;
  int inside_ = 0;
  int inHostCode_ = 0;
  std::vector<std::shared_ptr<void>> kept_;
  bool closed_ = false;
  std::thread::id exitingThread_;
  bool held_ = false;
  /// Closed, or held by a fork. Written under the mutex.
  std::atomic<bool> barred_ = false;
};

}  // namespace tilvanego::detail
