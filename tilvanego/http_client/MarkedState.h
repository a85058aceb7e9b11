#pragma once

#include <atomic>
#include <utility>

#include <tilvanego/network/OpenAPIMutex.h>

namespace tilvanego::detail {

/// Fields of which most objects set few, and their lock. A field may have a mark, which is one bit. As long
/// as that isn't set, `read` with the mark gives the default value of the field's type, without the lock. All
/// operations may be called from any thread.
template <typename State>
class MarkedState {
 public:
  MarkedState(unsigned marks, State state) : marks_(marks), state_(std::move(state)) {}

  [[nodiscard]] bool isMarked(unsigned mark) const {
    return (marks_.load(std::memory_order_relaxed) & mark) != 0;
  }

  /// Returns a copy of a field.
  template <typename Field>
  [[nodiscard]] Field read(Field State::* field, unsigned mark = 0) const {
    if (mark != 0 && !isMarked(mark)) return Field();
    return state_.withValue([&](const State& state) { return state.*field; });
  }

  /// Calls `body` with the fields under the lock, after it has set the mark, or removed it. 0 for no mark.
  template <typename Body>
  void change(unsigned mark, Body&& body, bool isSet = true) {
    state_.withValue([&](State& state) {
      const auto others = marks_.load(std::memory_order_relaxed) & ~mark;
      marks_.store(isSet ? others | mark : others, std::memory_order_relaxed);
      std::forward<Body>(body)(state);
    });
  }

 private:
  /// Written under the lock.
  std::atomic<unsigned> marks_;
  OpenAPIMutex<State> state_;
};

}  // namespace tilvanego::detail
