#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include <tilvanego/http_client/RequestTask.h>

namespace tilvanego::detail {

/// A builder of the class `Kind` and the handle of its requests in one block of memory. Either may outlive
/// the other; the block is freed when both are gone.
template <typename Kind>
struct BuilderBlock {
  /// Leaves the room for the builder as it is.
  BuilderBlock() {}  // NOLINT(*-member-init,*-equals-default)

  RequestTask task;
  /// This block, as long as the builder is in it.
  std::shared_ptr<BuilderBlock> self;
  /// For the builder and the counters of the pointers to it.
  alignas(std::max(alignof(Kind), alignof(std::max_align_t))) std::array<std::byte, sizeof(Kind) + 64> room;
};

/// Lets `std::allocate_shared` create a builder in its block.
template <typename T, typename Kind>
class BuilderAllocator {
 public:
  using value_type = T;
  template <typename Other>
  struct rebind {
    using other = BuilderAllocator<Other, Kind>;
  };

  explicit BuilderAllocator(BuilderBlock<Kind>& block) noexcept : block_(&block) {}
  template <typename Other>
  BuilderAllocator(const BuilderAllocator<Other, Kind>& other) noexcept : block_(other.block_) {}

  [[nodiscard]] T* allocate(std::size_t) noexcept {
    static_assert(sizeof(T) <= sizeof(block_->room) && alignof(T) <= alignof(BuilderBlock<Kind>));
    return reinterpret_cast<T*>(block_->room.data());
  }
  void deallocate(T*, std::size_t) noexcept { const auto last = std::move(block_->self); }

  template <typename Other>
  bool operator==(const BuilderAllocator<Other, Kind>& other) const noexcept {
    return block_ == other.block_;
  }

 private:
  template <typename, typename>
  friend class BuilderAllocator;
  BuilderBlock<Kind>* block_;
};

}  // namespace tilvanego::detail
