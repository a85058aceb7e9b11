#pragma once

#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

#include <tilvanego/values/Support.h>

/// What the library does if code of the host throws. One rule holds for all callbacks:
///
/// - A callback that returns something to the library (a port, a hook that decides) fails by throwing:
///   the exception counts as the failure that it could have returned.
/// - A callback that only observes (logger, debug output, observers) cannot make anything fail:
///   the exception is dropped after one line on standard error.
/// - A completion runs when its operation is over. On a thread of the host, its exception leaves the
///   host's call that ran it. On a thread of the library, nothing can catch it: the process ends after
///   one line on standard error.
///
/// The lines name the callback and the exception's type. They do not show its text, which may contain a link.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// The name of a type as C++ spells it.
[[nodiscard]] std::string typeName(const std::type_info& type);

/// Writes "TilvaneGo: CALLBACK threw TYPE; the exception is dropped." for the exception that is being
/// handled.
void reportDroppedException(std::string_view callback) noexcept;

/// Ends the process (SIGABRT) after "TilvaneGo: CALLBACK threw TYPE" and `reason` for the exception that is
/// being handled.
[[noreturn]] void endForException(
    std::string_view callback,
    std::string_view reason = " on a thread of the library, where nothing can catch it.") noexcept;

/// Runs `call`, a callback that only observes. Returns false if it threw.
template <typename Call>
bool runListener(std::string_view callback, Call&& call) noexcept try {
  std::forward<Call>(call)();
  return true;
} catch (...) {
  reportDroppedException(callback);
  return false;
}

/// Posts to a main queue of the host. If that throws, the process ends, since there is no other way to report
/// the result.
template <typename Queue, typename Block>
void postOrEnd(Queue& queue, Block&& block) noexcept try {
  queue.post(std::forward<Block>(block));
} catch (...) {
  endForException("MainQueue::post", "; the library can't tell the host anything without it.");
}

/// Marks the calling thread as one of the library, as long as the object exists.
class OwnThread {
 public:
  OwnThread() noexcept;
  OwnThread(const OwnThread&) = delete;
  OwnThread& operator=(const OwnThread&) = delete;
  ~OwnThread();
};

/// Whether the calling thread is marked as one of the library.
[[nodiscard]] bool isOwnThread() noexcept;

/// Runs `call`, a completion, on a thread of the library.
template <typename Call>
void runOnOwnThread(std::string_view callback, Call&& call) noexcept try {
  const OwnThread marked;
  std::forward<Call>(call)();
} catch (...) {
  endForException(callback);
}

}  // namespace support
}  // namespace tilvanego
