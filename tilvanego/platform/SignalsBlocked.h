#pragma once

#include <csignal>

#include <pthread.h>

namespace tilvanego::detail {

/// Blocks all signals of the calling thread while it exists. A thread that is created meanwhile inherits
/// that, so it never receives a signal of the host.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

}  // namespace tilvanego::detail
