#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>
#include <version>
#ifdef __cpp_lib_jthread
#include <stop_token>
#endif

namespace [[gnu::visibility("default")]] tilvanego {

class StopCallback;

}  // namespace tilvanego

namespace tilvanego::detail {

/// What the sources, tokens and callbacks of one request to stop share.
class StopState {
 public:
  StopState() = default;
  StopState(const StopState&) = delete;
  StopState& operator=(const StopState&) = delete;
  virtual ~StopState() = default;

  [[nodiscard]] bool requested() const;
  bool request();
  /// Runs the callback now if stopping was requested before.
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

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// Tells whether someone asked for a piece of work to be stopped. A copy tells the same; any thread may ask.
///
/// It is made by a `StopSource`. Where the standard library has `std::stop_token`, as libc++ 19 hasn't by
/// default, one of those does as well: it converts.
class StopToken {
 public:
  /// One that never tells so.
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
  explicit StopToken(std::shared_ptr<detail::StopState> state) : state_(std::move(state)) {}

#ifdef __cpp_lib_jthread
  /// Passes a standard token's request on.
  struct Relay : detail::StopState {
    static std::shared_ptr<Relay> make(std::stop_token token) {
      auto relay = std::make_shared<Relay>();
      // Held weakly: a request that comes while the last token goes finds either the whole state or none.
      relay->callback.emplace(std::move(token), [weak = std::weak_ptr<detail::StopState>(relay)] {
        if (const auto state = weak.lock()) state->request();
      });
      return relay;
    }
    std::optional<std::stop_callback<std::function<void()>>> callback;
  };
#endif

  std::shared_ptr<detail::StopState> state_;
};

/// Asks for work to be stopped. Copies are the same source; any thread may use one.
class StopSource {
 public:
  StopSource() : state_(std::make_shared<detail::StopState>()) {}

  [[nodiscard]] StopToken token() const { return StopToken(state_); }
  [[nodiscard]] bool stopRequested() const { return state_->requested(); }
  /// Runs the callbacks of all tokens, on this thread, without a lock held. False if stopping was requested
  /// before.
  bool requestStop() const {
    const auto state = state_;
    return state->request();
  }

 private:
  std::shared_ptr<detail::StopState> state_;
};

/// Calls a function once when stopping is requested, on the thread that requests it, or in the constructor if
/// it was requested before. When the destructor returns, the function isn't running on another thread and
/// won't be called any more. An empty function is nothing to call.
///
/// The function may do anything, ending callbacks of the same token included, and may throw: it only listens,
/// so that the exception is dropped after one line on standard error.
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
  friend class detail::StopState;
  std::shared_ptr<detail::StopState> state_;
  std::function<void()> action_;
};

/// The failure of work that was stopped before it began.
class CancellationError final : public std::exception {
 public:
  [[nodiscard]] std::string description() const { return what(); }
  [[nodiscard]] const char* what() const noexcept override { return "cancelled before it was sent"; }
};

}  // namespace tilvanego
