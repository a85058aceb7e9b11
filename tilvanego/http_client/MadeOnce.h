#pragma once

#include <atomic>
#include <memory>
#include <utility>

namespace tilvanego::detail {

/// The place of a value that is made when it is first needed. Several threads may make one each at once; one
/// of them is kept. `get` and `keep` may be called from any thread, all else as for a plain value.
template <typename T>
class MadeOnce {
 public:
  MadeOnce() = default;
  explicit MadeOnce(std::unique_ptr<T> value) : value_(value.release()) {}
  MadeOnce(MadeOnce&& other) noexcept : value_(other.value_.exchange(nullptr, std::memory_order_relaxed)) {}
  MadeOnce& operator=(MadeOnce&& other) noexcept {
    other.value_ = value_.exchange(other.value_);
    return *this;
  }
  ~MadeOnce() { delete value_.load(std::memory_order_relaxed); }

  /// Null if none was made yet.
  [[nodiscard]] T* get() const { return value_.load(std::memory_order_acquire); }

  /// Keeps the value, unless there is one. Returns the kept one.
  T& keep(std::unique_ptr<T> value) {
    T* kept = nullptr;
    if (value_.compare_exchange_strong(kept, value.get(), std::memory_order_acq_rel)) kept = value.release();
    return *kept;
  }

 private:
  /// Owned.
  std::atomic<T*> value_ = nullptr;
};

}  // namespace tilvanego::detail
