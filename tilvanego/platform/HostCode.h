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

/// Ends the process (SIGABRT) after "TilvaneGo: CALLBACK threw TYPE on a thread of the library, where nothing
/// can catch it." for the exception that is being handled.
[[noreturn]] void endForException(std::string_view callback) noexcept;

/// Runs `call`, for callbacks that only listen. False if it threw.
template <class Call>
bool runListener(std::string_view callback, Call&& call) noexcept {
  try {
    std::forward<Call>(call)();
    return true;
  } catch (...) {
    reportDroppedException(callback);
    return false;
  }
}

/// Runs `call` on a thread of the library's, for completions.
template <class Call>
void runOnOwnThread(std::string_view callback, Call&& call) noexcept {
  try {
    std::forward<Call>(call)();
  } catch (...) {
    endForException(callback);
  }
}

}  // namespace tilvanego::detail
