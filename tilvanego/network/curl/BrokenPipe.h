#pragma once

#include <csignal>

namespace tilvanego::detail {

/// Keeps SIGPIPE from this thread while it exists: TLS may write to a connection that the peer has closed.
/// That must fail the request, not end the process.
class BrokenPipeBlocked {
 public:
  BrokenPipeBlocked() noexcept {
    sigset_t pipe = onlyBrokenPipe();
    pthread_sigmask(SIG_BLOCK, &pipe, &former_);
  }
  BrokenPipeBlocked(const BrokenPipeBlocked&) = delete;
  BrokenPipeBlocked& operator=(const BrokenPipeBlocked&) = delete;
  /// Takes a signal that came meanwhile. If the host blocks the signal itself, it stays pending.
  ~BrokenPipeBlocked() {
    if (sigismember(&former_, SIGPIPE) == 1) return;
    sigset_t pending;
    if (sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1) {
      sigset_t pipe = onlyBrokenPipe();
      int taken = 0;
      sigwait(&pipe, &taken);
    }
    pthread_sigmask(SIG_SETMASK, &former_, nullptr);
  }

  /// For a thread of the library.
  static void blockForEver() noexcept {
    sigset_t pipe = onlyBrokenPipe();
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
  }

 private:
  static sigset_t onlyBrokenPipe() noexcept {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
  }

  sigset_t former_;
};

}  // namespace tilvanego::detail
