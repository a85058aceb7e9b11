#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>
#include <version>
#ifdef __cpp_lib_jthread
#include <stop_token>

#include <tilvanego/values/Support.h>
#endif

namespace [[gnu::visibility("default")]] tilvanego {

class StopCallback;

namespace support {

/// The shared state of the sources, tokens and callbacks of one stop request.
class StopState {
 public:
  StopState() = default;
  StopState(const StopState&) = delete;
  StopState& operator=(const StopState&) = delete;
  virtual ~StopState() = default;

  [[nodiscard]] bool requested() const;
  bool request();
  /// Runs the callback at once if stopping was requested before.
  void add(StopCallback& callback);
  void remove(StopCallback& callback);

 private:
  mutable std::mutex mutex_;
  std::condition_variable ended_;
  bool requested_ = false;
  std::vector<StopCallback*> callbacks_;
  StopCallback* running_ = nullptr;
  std::thread::id runner_;
};

}  // namespace support

/// A token by which work learns that it shall stop. Copies share the request. Any thread may use a token.
///
/// A `StopSource` makes tokens. A `std::stop_token` converts to one, if the standard library has it (libc++
/// 19 has not by default).
class StopToken {
 public:
  /// A token whose `stopRequested` always returns false.
  StopToken() = default;

#ifdef __cpp_lib_jthread
  StopToken(std::stop_token token) {
    if (token.stop_possible()) state_ = Relay::make(std::move(token));
  }
#endif

  [[nodiscard]] bool stopRequested() const { return state_ && state_->requested(); }

 private:
  friend class StopSource;
  friend class StopCallback;
  explicit StopToken(std::shared_ptr<support::StopState> state) : state_(std::move(state)) {}

#ifdef __cpp_lib_jthread
  /// Forwards the request of a standard token.
  struct Relay : support::StopState {
    static std::shared_ptr<Relay> make(std::stop_token token) {
      auto relay = std::make_shared<Relay>();
      // Held weakly: a request may come while the last token is destroyed.
      relay->callback =
          std::make_unique<Callback>(std::move(token), [weak = std::weak_ptr<support::StopState>(relay)] {
            if (const auto state = weak.lock()) state->request();
          });
      return relay;
    }
    using Callback = std::stop_callback<std::function<void()>>;
    /// Not an optional, of which g++ 14 says at some optimisations that it may be uninitialized.
    std::unique_ptr<Callback> callback;
  };
#endif

  std::shared_ptr<support::StopState> state_;
};

/// Requests that work stops. Copies share the request. Any thread may use a source.
class StopSource {
 public:
  StopSource() : state_(std::make_shared<support::StopState>()) {}

  [[nodiscard]] StopToken token() const { return StopToken(state_); }
  [[nodiscard]] bool stopRequested() const { return state_->requested(); }
  /// Runs the callbacks of all tokens, on this thread, without holding a lock. Returns false if stopping was
  /// requested before.
  bool requestStop() const {
    const auto state = state_;
    return state->request();
  }

 private:
  std::shared_ptr<support::StopState> state_;
};

/// Calls a function once, on the thread that requests stopping, or in the constructor if stopping was
/// requested before. When the destructor returns, the function is not running on another thread and will not
/// be called. An empty function is allowed and never called.
///
/// The function may destroy callbacks of the same token, this one too. It may throw: the exception is dropped
/// after one line on standard error.
class StopCallback {
 public:
  StopCallback(const StopToken& token, std::function<void()> action)
      : state_(token.state_), action_(std::move(action)) {
    if (state_) state_->add(*this);
  }
  StopCallback(const StopCallback&) = delete;
  StopCallback& operator=(const StopCallback&) = delete;
  ~StopCallback() {
    if (state_) state_->remove(*this);
  }

 private:
  friend class support::StopState;
  std::shared_ptr<support::StopState> state_;
  std::function<void()> action_;
};

/// The error of work that was stopped.
class CancellationError final : public std::exception {
 public:
  CancellationError() = default;
  /// `text` says what was stopped; it must be valid until the process ends.
  explicit CancellationError(const char* text) : text_(text) {}

  [[nodiscard]] std::string description() const { return what(); }
  [[nodiscard]] const char* what() const noexcept override { return text_; }

 private:
  const char* text_ = "cancelled before it was sent";
};

}  // namespace tilvanego
