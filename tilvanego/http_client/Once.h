#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace tilvanego::detail {

/// A function that runs `body` at its first call and passes over every other one. What the body holds is let
/// go with that call, so that nobody who keeps the function keeps more. Any thread may call it.
template <typename... Arguments>
std::function<void(Arguments...)> once(std::function<void(Arguments...)> body) {
  struct Shot {
    explicit Shot(std::function<void(Arguments...)> action) : body(std::move(action)) {}
    std::atomic<bool> used = false;
    std::function<void(Arguments...)> body;
  };
  return [shot = std::make_shared<Shot>(std::move(body))](Arguments... arguments) {
    if (shot->used.exchange(true)) return;
    const auto action = std::exchange(shot->body, nullptr);
    action(std::forward<Arguments>(arguments)...);
  };
}

}  // namespace tilvanego::detail
