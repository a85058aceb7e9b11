#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A short list in one block of memory. Copies share the block until one of them is changed. Different copies
/// may be used on different threads. A change invalidates iterators and references; so does `own`.
template <typename T>
class SharedArray {
 public:
  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;

  SharedArray() = default;
  SharedArray(const SharedArray& other) noexcept : block_(other.block_) {
    if (block_ != nullptr) block_->owners.fetch_add(1, std::memory_order_relaxed);
  }
  SharedArray(SharedArray&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  SharedArray& operator=(SharedArray other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~SharedArray() {
    if (block_ == nullptr) return;
    if (!isShared() || block_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy(block_);
  }

  [[nodiscard]] const_iterator begin() const TILVANEGO_LIFETIMEBOUND {
    return block_ != nullptr ? block_->elements() : nullptr;
  }
  [[nodiscard]] const_iterator end() const TILVANEGO_LIFETIMEBOUND { return begin() + size(); }
  /// Returns the first element, to be changed: copies a shared block.
  [[nodiscard]] iterator own() TILVANEGO_LIFETIMEBOUND {
    if (isShared()) moveTo(block_->capacity);
    return block_ != nullptr ? block_->elements() : nullptr;
  }
  [[nodiscard]] std::size_t size() const { return block_ != nullptr ? block_->size : 0; }
  [[nodiscard]] bool empty() const { return size() == 0; }

  /// Makes room for this many elements, which later changes don't share.
  void reserve(std::size_t count) {
    if (isShared() || count > capacity()) moveTo(std::max(count, size()));
  }
  void clear() { *this = SharedArray(); }

  /// Inserts an element made of these arguments before the place, and returns its place.
  template <typename... Arguments>
  iterator emplace(const_iterator place, Arguments&&... arguments) TILVANEGO_LIFETIMEBOUND {
    const auto index = place - begin();
    if (isShared() || size() == capacity()) {
      // Made first: the arguments may be in the block that is left.
      T element(std::forward<Arguments>(arguments)...);
      moveTo(std::max(2 * size(), size() + 2));
      return emplace(begin() + index, std::move(element));
    }
    T* const first = block_->elements();
    T* const added = std::construct_at(first + block_->size, std::forward<Arguments>(arguments)...);
    ++block_->size;
    if (first + index != added) std::rotate(first + index, added, added + 1);
    return first + index;
  }
  /// Removes the element, and returns the place of the next one.
  iterator erase(const_iterator place) TILVANEGO_LIFETIMEBOUND {
    const auto index = place - begin();
    T* const first = own();
    T* const last = first + block_->size;
    std::move(first + index + 1, last, first + index);
    std::destroy_at(last - 1);
    --block_->size;
    return first + index;
  }

  bool operator==(const SharedArray& other) const {
    return std::equal(begin(), end(), other.begin(), other.end());
  }

 private:
  /// The head of the block; the elements follow it.
  struct alignas(std::max(alignof(T), alignof(std::size_t))) Block {
    T* elements() { return std::launder(reinterpret_cast<T*>(this + 1)); }

    std::atomic<std::size_t> owners = 1;
    std::size_t size = 0;
    std::size_t capacity;
  };

  static Block* create(std::size_t capacity) {
    static_assert(alignof(Block) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__,
                  "A list shares no elements that need a larger alignment than operator new gives.");
    if (capacity > (std::numeric_limits<std::size_t>::max() - sizeof(Block)) / sizeof(T)) {
      throw std::bad_array_new_length();
    }
    void* const memory = ::operator new(sizeof(Block) + capacity * sizeof(T));
    return ::new (memory) Block{.capacity = capacity};
  }
  static void destroy(Block* block) noexcept {
    std::destroy_n(block->elements(), block->size);
    ::operator delete(block);
  }

  std::size_t capacity() const { return block_ != nullptr ? block_->capacity : 0; }
  /// Whether another list has the same block: it isn't changed then. Acquires: what a list did before it left
  /// the block comes before a change of the last one.
  bool isShared() const { return block_ != nullptr && block_->owners.load(std::memory_order_acquire) != 1; }
  /// Gives this list a block of its own.
  void moveTo(std::size_t capacity) {
    SharedArray other;
    other.block_ = create(capacity);
    if (block_ != nullptr) {
      if (isShared()) {
        std::uninitialized_copy_n(block_->elements(), block_->size, other.block_->elements());
      } else {
        std::uninitialized_move_n(block_->elements(), block_->size, other.block_->elements());
      }
      other.block_->size = block_->size;
    }
    std::swap(block_, other.block_);
  }

  /// Null without elements.
  Block* block_ = nullptr;
};

}  // namespace tilvanego
