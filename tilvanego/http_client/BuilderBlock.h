#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <concepts>
#include <cstddef>
#include <memory>
#include <utility>

#include <tilvanego/http_client/RequestTask.h>

namespace tilvanego::detail {

/// One block of memory for a builder of the class `Kind` and the handle of its requests, each with the
/// counters of the pointers to it. Each is destroyed when its own last pointer goes; the memory is freed
/// after the last pointer, also a weak one, to any of the two.
template <typename Kind>
class BuilderBlock {
  /// Room for an object of the type `T` behind its counters and an allocator, whatever their order.
  template <typename T>
  struct Room {
    static constexpr std::size_t alignment = std::max(alignof(T), alignof(std::max_align_t));
    alignas(alignment) std::array<std::byte, sizeof(T) + 4 * sizeof(void*) + alignment> bytes;
  };

  /// Gives the room of the builder or of the handle to `std::allocate_shared`, which asks once.
  template <typename T, typename Of>
  class Allocator {
   public:
    using value_type = T;
    template <typename Other>
    struct rebind {
      using other = Allocator<Other, Of>;
    };

    explicit Allocator(BuilderBlock& block) noexcept : block_(&block) {}
    template <typename Other>
    Allocator(const Allocator<Other, Of>& other) noexcept : block_(other.block_) {}

    [[nodiscard]] T* allocate(std::size_t) noexcept {
      static_assert(sizeof(T) <= sizeof(Room<Of>) && alignof(T) <= alignof(Room<Of>));
      return reinterpret_cast<T*>(block_->template room<Of>());
    }
    void deallocate(T*, std::size_t) noexcept { block_->leave(); }

    template <typename Other>
    bool operator==(const Allocator<Other, Of>& other) const noexcept {
      return block_ == other.block_;
    }

   private:
    template <typename, typename>
    friend class Allocator;
    BuilderBlock* block_;
  };

 public:
  /// Creates the handle, and then the builder by `construct(allocator, handle)`, which must create it with
  /// that allocator by `std::allocate_shared`.
  template <typename Construct>
  [[nodiscard]] static std::shared_ptr<Kind> make(Construct construct) {
    auto& block = *new BuilderBlock;
    auto task = std::allocate_shared<RequestTask>(Allocator<RequestTask, RequestTask>(block));
    return construct(Allocator<Kind, Kind>(block), std::move(task));
  }

 private:
  /// Leaves the rooms as they are.
  BuilderBlock() {}  // NOLINT(*-member-init,*-equals-default)

  template <typename Of>
  std::byte* room() noexcept {
    if constexpr (std::same_as<Of, Kind>) {
      return builderRoom_.bytes.data();
    } else {
      return taskRoom_.bytes.data();
    }
  }

  void leave() noexcept {
    const bool isLast = users_.load(std::memory_order_acquire) == 1;
    if (isLast || users_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  /// The rooms in use.
  std::atomic<int> users_ = 2;
  Room<RequestTask> taskRoom_;
  Room<Kind> builderRoom_;
};

}  // namespace tilvanego::detail
