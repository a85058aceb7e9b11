#pragma once

#include <coroutine>
#include <exception>
#include <utility>

namespace tilvanego::test {

/// A coroutine of the host's own. It ends with this object at the latest, which it may destroy.
class Till {
 public:
  struct promise_type {
    Till get_return_object() { return Till(std::coroutine_handle<promise_type>::from_promise(*this)); }
    std::suspend_always initial_suspend() noexcept { return {}; }
    std::suspend_always final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::terminate(); }
  };
  Till(Till&& other) noexcept : coroutine_(std::exchange(other.coroutine_, nullptr)) {}
  Till& operator=(Till&&) = delete;
  ~Till() {
    if (coroutine_) coroutine_.destroy();
  }
  void begin() const { coroutine_.resume(); }

 private:
  explicit Till(std::coroutine_handle<promise_type> coroutine) : coroutine_(coroutine) {}
  std::coroutine_handle<promise_type> coroutine_;
};

}  // namespace tilvanego::test
