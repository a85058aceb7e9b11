#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace tilvanego::detail {

class SessionLoop;

/// Keeps sessions from using libcurl, and the TLS library below it, while the process's exit takes that down.
///
/// Threads that use libcurl are inside. The exit closes the gate before it runs the TLS library's own
/// handler: it waits until nobody is inside, and nobody gets in again. A session's thread then waits for ever
/// where it would go on, so that no completion begins once the exit has begun.
///
/// A fork holds everybody outside for its duration: the child may end by `exit` too, whose handlers would
/// wait for ever for a lock of the TLS library's that a thread of the parent held.
class ExitGate {
 public:
  /// The gate of this process. A forked child has another than its parent, since it has none of the threads.
  static ExitGate& ofProcess();
  ExitGate(const ExitGate&) = delete;
  ExitGate& operator=(const ExitGate&) = delete;

  /// False in a forked child for what its parent made: its threads and locks aren't of this process.
  [[nodiscard]] bool isOfProcess() const { return this == &ofProcess(); }

  // For a session that starts and ends its thread.

  /// Has the loop woken when the gate closes. From the first call on, the exit closes the gate.
  void add(SessionLoop& loop);
  void remove(const SessionLoop& loop);
  /// Returns when the loop isn't here any more; false if the exit was first, and it may stay for ever.
  [[nodiscard]] bool waitUntilRemoved(const SessionLoop& loop);

  // For a session's thread.

  /// Comes in, or stops for ever.
  void enter();
  /// Waits outside while a fork holds the gate; stops for ever if the gate is closed.
  void pass() {
    if (barred_) stepAside();
  }
  void leave();
  /// Runs `call`, which doesn't throw and is the host's, outside: it may end the process, or wait for who
  /// does.
  template <typename Call>
  void runHostCode(Call&& call) {
    leaveForHostCode();
    call();
    comeBackFromHostCode();
  }

  // For any thread.

  /// Comes in, or gives false.
  [[nodiscard]] bool tryToEnter();
  /// Holds what can't be taken down any more.
  void keep(std::shared_ptr<void> object);

 private:
  ExitGate() = default;
  static void closeAtExit();
  static void holdForFork();
  static void goOnAfterFork();
  static void replaceInChild();
  void close();
  void leaveForHostCode();
  void comeBackFromHostCode();
  void stepAside();
  void comeIn(std::unique_lock<std::mutex>& lock);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<SessionLoop*> loops_;
  int inside_ = 0;
  int inHostCode_ = 0;
  std::vector<std::shared_ptr<void>> kept_;
  bool closed_ = false;
  bool held_ = false;
  /// Closed or held. Set under the mutex.
  std::atomic<bool> barred_ = false;
};

}  // namespace tilvanego::detail
