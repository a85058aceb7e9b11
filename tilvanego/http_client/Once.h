#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace tilvanego::detail {

/// A function that runs `body` at its first call and passes over every other one. What the body holds is let
/// go with that call, so that nobody who keeps the function keeps more. Copies are the same function; any
/// thread may call it.
template <typename... Arguments>
class Once {
 public:
  explicit Once(std::function<void(Arguments...)> body) : shot_(std::make_shared<Shot>(std::move(body))) {}

  /// False if another call came first. What the body throws leaves here.
  bool operator()(Arguments... arguments) const {
    // The caller may let go of this function meanwhile.
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

  /// Lets the body go without running it; false if a call came first.
  bool use() const {
    if (shot_->used.exchange(true)) return false;
    const auto action = std::exchange(shot_->body, nullptr);
    return true;
  }

  [[nodiscard]] bool isUsed() const { return shot_->used; }
  /// The body ran, and threw.
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
