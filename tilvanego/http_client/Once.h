#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace tilvanego::detail {

/// A function that calls `body` at its first call and ignores further calls. The first call destroys `body`,
/// so that a copy that is kept longer doesn't keep its captures alive. Copies share one state; any thread may
/// call them.
template <typename... Arguments>
class Once {
 public:
  explicit Once(std::function<void(Arguments...)> body) : shot_(std::make_shared<Shot>(std::move(body))) {}

  /// Returns false if this isn't the first call. An exception of the body leaves the call.
  bool operator()(Arguments... arguments) const {
    // The caller may destroy this object meanwhile.
    const auto shot = shot_;
    if (shot->used.exchange(true)) return false;
    const auto action = std::exchange(shot->body, nullptr);
    try {
      action(std::forward<Arguments>(arguments)...);
    } catch (...) {
      shot->threw = true;
      throw;
    }
    return true;
  }

  /// Destroys the body without calling it. Returns false if it was called or discarded before.
  [[nodiscard]] bool discard() const {
    if (shot_->used.exchange(true)) return false;
    const auto action = std::exchange(shot_->body, nullptr);
    return true;
  }

  /// Whether the body was called or discarded.
  [[nodiscard]] bool isUsed() const { return shot_->used; }
  /// Whether the body threw.
  [[nodiscard]] bool hasThrown() const { return shot_->threw; }

 private:
  struct Shot {
    explicit Shot(std::function<void(Arguments...)> action) : body(std::move(action)) {}
    std::atomic<bool> used = false;
    std::atomic<bool> threw = false;
    std::function<void(Arguments...)> body;
  };
  std::shared_ptr<Shot> shot_;
};

}  // namespace tilvanego::detail
