#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <tilvanego/values/Bytes.h>

namespace tilvanego::detail {

/// The bytes of an answer as they come, in room that grows with what has come: an announced length is trusted
/// to 16 times of that, or 1 MiB, so that 100 MB take three allocations. Bytes that come decompressed can be
/// a thousand times those that were sent; what bounds them is the limit, which the caller keeps.
class Body {
 public:
  /// Announced by the server, within the limit.
  void expect(std::size_t length) { expected_ = length; }

  /// Throws std::bad_alloc or std::length_error if memory is short.
  void append(const char* bytes, std::size_t count) {
    const auto needed = bytes_.size() + count;
    // Without an announced length, the vector's own growth serves.
    if (needed > bytes_.capacity() && needed <= expected_) {
      bytes_.reserve(std::min(expected_, std::max(needed * 16, std::size_t{1} << 20U)));
    }
    const auto* begin = reinterpret_cast<const std::uint8_t*>(bytes);
    bytes_.insert(bytes_.end(), begin, begin + count);
  }

  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  [[nodiscard]] Bytes take() { return std::exchange(*this, {}).bytes_; }

 private:
  Bytes bytes_;
  std::size_t expected_ = 0;
};

}  // namespace tilvanego::detail
