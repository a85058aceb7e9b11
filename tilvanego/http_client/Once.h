#pragma once

#include <atomic>
#include <concepts>
#include <memory>
#include <optional>
#include <utility>

namespace tilvanego::detail {

/// A function that calls `body` at its first call and ignores further calls. The first call destroys `body`,
/// so that a copy that is kept longer doesn't keep its captures alive. Copies share one state; any thread may
/// call them.
template <typename... Arguments>
class Once {
 public:
  template <std::invocable<Arguments...> Body>
    requires(!std::same_as<Body, Once>)
  explicit Once(Body body) : shot_(std::make_shared<Loaded<Body>>(std::move(body))) {}

  /// Returns false if this isn't the first call. An exception of the body leaves the call.
  bool operator()(Arguments... arguments) const {
    // The caller may destroy this object meanwhile.
    const auto shot = shot_;
    if (shot->used.exchange(true)) return false;
    try {
      shot->fire(std::forward<Arguments>(arguments)...);
    } catch (...) {
      shot->threw = true;
      throw;
    }
    return true;
  }

  /// Destroys the body without calling it. Returns false if it was called or discarded before.
  [[nodiscard]] bool discard() const {
    if (shot_->used.exchange(true)) return false;
    shot_->drop();
    return true;
  }

  /// Whether the body was called or discarded.
  [[nodiscard]] bool isUsed() const { return shot_->used; }
  /// Whether the body threw.
  [[nodiscard]] bool hasThrown() const { return shot_->threw; }

 private:
  struct Shot {
    Shot() = default;
    Shot(const Shot&) = delete;
    Shot& operator=(const Shot&) = delete;
    virtual ~Shot() = default;
    /// Both destroy the body.
    virtual void fire(Arguments... arguments) = 0;
    virtual void drop() = 0;
    std::atomic<bool> used = false;
    std::atomic<bool> threw = false;
  };
  template <typename Body>
  struct Loaded final : Shot {
    explicit Loaded(Body given) : body(std::move(given)) {}
    void fire(Arguments... arguments) override {
      // Not moved, which may throw.
      const Destroyer atEnd{body};
      (*body)(std::forward<Arguments>(arguments)...);
    }
    void drop() override { body.reset(); }
    struct Destroyer {
      std::optional<Body>& body;
      ~Destroyer() { body.reset(); }
    };
    std::optional<Body> body;
  };
  std::shared_ptr<Shot> shot_;
};

}  // namespace tilvanego::detail
