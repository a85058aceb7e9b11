#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Immutable binary data. Copies share the bytes, so a copy costs as much as a copy of a pointer. Different
/// copies may be used on different threads.
class Data {
 public:
  Data() = default;
  /// Takes the bytes over, without a copy.
  explicit Data(Bytes bytes) : Data(std::make_shared<const Bytes>(std::move(bytes))) {}
  /// Copies the bytes of the text, into one block of memory.
  explicit Data(std::string_view text) : size_(text.size()) {
    if (text.empty()) return;
    auto copy = std::make_shared_for_overwrite<std::uint8_t[]>(text.size());
    std::uint8_t* const first = copy.get();
    std::memcpy(first, text.data(), text.size());
    first_ = {std::move(copy), first};
  }

  [[nodiscard]] std::span<const std::uint8_t> bytes() const TILVANEGO_LIFETIMEBOUND {
    return first_ ? std::span(first_.get(), size_) : std::span<const std::uint8_t>();
  }
  /// The bytes, unchanged. They may be no valid UTF-8.
  [[nodiscard]] std::string_view text() const TILVANEGO_LIFETIMEBOUND {
    const auto all = bytes();
    return {reinterpret_cast<const char*>(all.data()), all.size()};
  }
  [[nodiscard]] std::size_t size() const { return bytes().size(); }
  [[nodiscard]] bool empty() const { return bytes().empty(); }

  bool operator==(const Data& other) const { return std::ranges::equal(bytes(), other.bytes()); }

 private:
  explicit Data(const std::shared_ptr<const Bytes>& bytes)
      : first_(bytes, bytes->data()), size_(bytes->size()) {}

  /// Owns the block in which the bytes are; null if there are none, or after a move.
  std::shared_ptr<const std::uint8_t> first_;
  std::size_t size_ = 0;
};

}  // namespace tilvanego
