#pragma once

#include <string_view>
#include <utility>

/// What the library does when code of the host's throws. There is one rule for all callbacks:
///
/// - A callback that answers the library (a port, a hook that decides) fails by throwing: the exception
/// counts
///   as the failure that it could have returned.
/// - A callback that only listens (logger, debug output, observers) can't fail anything: the exception is
///   dropped after one line on standard error.
/// - A completion runs when its operation is over. On a thread of the host's, its exception leaves by the
///   host's own call that ran it; on a thread of the library's there is none, and the process ends after one
///   line on standard error.
///
/// The lines name the callback and the exception's type. Its text isn't shown, since it may hold a link.
namespace tilvanego::detail {

/// Writes "TilvaneGo: CALLBACK threw TYPE; the exception is dropped." for the exception that is being
/// handled.
void reportDroppedException(std::string_view callback) noexcept;

/// Ends the process (SIGABRT) after "TilvaneGo: CALLBACK threw TYPE" and `reason` for the exception that is
/// being handled.
[[noreturn]] void endForException(
    std::string_view callback,
    std::string_view reason = " on a thread of the library, where nothing can catch it.") noexcept;

/// Runs `call`, for callbacks that only listen. False if it threw.
template <typename Call>
bool runListener(std::string_view callback, Call&& call) noexcept {
  try {
    std::forward<Call>(call)();
    return true;
  } catch (...) {
    reportDroppedException(callback);
    return false;
  }
}

/// Posts to a main queue of the host's. What is told there is told nowhere else: the process ends if it
/// throws.
template <typename Queue, typename Block>
void postOrEnd(Queue& queue, Block&& block) noexcept {
  try {
    queue.post(std::forward<Block>(block));
  } catch (...) {
    endForException("MainQueue::post", "; the library can't tell the host anything without it.");
  }
}

/// Marks the calling thread as one of the library's own while it lives.
class OwnThread {
 public:
  OwnThread() noexcept;
  OwnThread(const OwnThread&) = delete;
  OwnThread& operator=(const OwnThread&) = delete;
  ~OwnThread();
};

/// Whether the calling thread is so marked. What may run a completion on either kind of thread asks.
[[nodiscard]] bool isOwnThread() noexcept;

/// Runs `call` on a thread of the library's, for completions.
template <typename Call>
void runOnOwnThread(std::string_view callback, Call&& call) noexcept {
  const OwnThread marked;
  try {
    std::forward<Call>(call)();
  } catch (...) {
    endForException(callback);
  }
}

}  // namespace tilvanego::detail
