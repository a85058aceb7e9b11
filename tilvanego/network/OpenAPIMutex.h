#pragma once

#include <mutex>
#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {

/// A value and the lock that guards it. The lock is recursive: code that runs under it may use the same mutex
/// again on the same thread. All operations may be called from any thread.
template <typename Value>
class OpenAPIMutex {
 public:
  explicit OpenAPIMutex(Value value) : _value(std::move(value)) {}

  OpenAPIMutex(const OpenAPIMutex&) = delete;
  OpenAPIMutex& operator=(const OpenAPIMutex&) = delete;

  /// Returns a copy of the value, made under the lock.
  [[nodiscard]] Value value() const {
    const std::lock_guard held(lock);
    return _value;
  }

  /// Calls `body` with a reference to the value under the lock, and returns its result. The lock is released
  /// when `body` returns or throws; the reference is valid until then.
  template <typename Body>
  decltype(auto) withValue(Body&& body) {
    const std::lock_guard held(lock);
    return std::forward<Body>(body)(_value);
  }
  template <typename Body>
  decltype(auto) withValue(Body&& body) const {
    const std::lock_guard held(lock);
    return std::forward<Body>(body)(_value);
  }

 private:
  Value _value;
  mutable std::recursive_mutex lock;
};

}  // namespace tilvanego
