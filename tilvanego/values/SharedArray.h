#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A short list in one block of memory. Copies share the block until one of them is changed. Different copies
/// may be used on different threads. Elements must be default-constructible. A change invalidates iterators
/// and references; so does `own`.
template <typename T>
class SharedArray {
 public:
  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;

  SharedArray() = default;
  SharedArray(const SharedArray& other) noexcept
      : block_(other.block_), size_(other.size_), capacity_(other.capacity_) {
    if (!block_) return;
    isShared_.store(true, std::memory_order_relaxed);
    if (!other.isShared()) other.isShared_.store(true, std::memory_order_relaxed);
  }
  SharedArray(SharedArray&& other) noexcept
      : block_(std::move(other.block_)),
        size_(std::exchange(other.size_, 0)),
        capacity_(std::exchange(other.capacity_, 0)),
        isShared_(other.isShared()) {
    other.isShared_.store(false, std::memory_order_relaxed);
  }
  SharedArray& operator=(SharedArray other) noexcept {
    block_.swap(other.block_);
    size_ = other.size_;
    capacity_ = other.capacity_;
    isShared_.store(other.isShared(), std::memory_order_relaxed);
    return *this;
  }
  ~SharedArray() = default;

  [[nodiscard]] const_iterator begin() const TILVANEGO_LIFETIMEBOUND { return block_.get(); }
  [[nodiscard]] const_iterator end() const TILVANEGO_LIFETIMEBOUND { return begin() + size_; }
  /// Returns the first element, to be changed: copies a shared block.
  [[nodiscard]] iterator own() TILVANEGO_LIFETIMEBOUND {
    if (isShared()) moveTo(capacity_);
    return block_.get();
  }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] bool empty() const { return size_ == 0; }

  /// Makes room for this many elements, which later changes don't share.
  void reserve(std::size_t count) {
    if (isShared() || count > capacity_) moveTo(std::max(count, size_));
  }
  void clear() { *this = SharedArray(); }

  /// Inserts an element made of these arguments before the place, and returns its place.
  template <typename... Arguments>
  iterator emplace(const_iterator place, Arguments&&... arguments) TILVANEGO_LIFETIMEBOUND {
    T element(std::forward<Arguments>(arguments)...);
    const auto index = place - begin();
    if (isShared() || size_ == capacity_) moveTo(std::max(2 * size_, size_ + 2));
    T* const first = block_.get();
    std::move_backward(first + index, first + size_, first + size_ + 1);
    first[index] = std::move(element);
    ++size_;
    return first + index;
  }
  /// Removes the element, and returns the place of the next one.
  iterator erase(const_iterator place) TILVANEGO_LIFETIMEBOUND {
    const auto index = place - begin();
    T* const first = own();
    const T removed = std::move(first[index]);
    std::move(first + index + 1, first + size_, first + index);
    --size_;
    return first + index;
  }

  bool operator==(const SharedArray& other) const {
    return std::equal(begin(), end(), other.begin(), other.end());
  }

 private:
  bool isShared() const { return isShared_.load(std::memory_order_relaxed); }
  /// Gives this list a block of its own.
  void moveTo(std::size_t capacity) {
    auto block = std::make_shared<T[]>(capacity);
    T* const first = block_.get();
    if (isShared()) {
      std::copy(first, first + size_, block.get());
    } else {
      std::move(first, first + size_, block.get());
    }
    block_ = std::move(block);
    capacity_ = capacity;
    isShared_.store(false, std::memory_order_relaxed);
  }

  /// Null without elements.
  std::shared_ptr<T[]> block_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
  /// Whether another list may have the same block: it isn't changed then. Atomic, because several threads may
  /// copy one list. Relaxed: who changes a list must be the only one who uses it, and so knows of all copies.
  mutable std::atomic<bool> isShared_ = false;
};

}  // namespace tilvanego
