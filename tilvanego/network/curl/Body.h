#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <tilvanego/values/Bytes.h>

namespace tilvanego::detail {

/// Collects the bytes of a response. An announced length isn't trusted: at most 16 times the received bytes,
/// or 1 MiB, are allocated in advance, so that 100 MB need three allocations. The caller enforces the limit
/// on the size.
class Body {
 public:
  /// Sets the length that the server announced.
  void expect(std::size_t length) { expected_ = length; }

  /// Throws std::bad_alloc or std::length_error if memory is short.
  void append(const char* bytes, std::size_t count) {
    const auto needed = bytes_.size() + count;
    // Without an announced length, the vector grows by itself.
    if (needed > bytes_.capacity() && needed <= expected_) {
      bytes_.reserve(std::min(expected_, std::max(needed * 16, std::size_t{1} << 20U)));
    }
    const auto* begin = reinterpret_cast<const std::uint8_t*>(bytes);
    bytes_.insert(bytes_.end(), begin, begin + count);
  }

  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  /// Returns the bytes and clears this object.
  [[nodiscard]] Bytes take() { return std::exchange(*this, {}).bytes_; }

 private:
  Bytes bytes_;
  std::size_t expected_ = 0;
};

}  // namespace tilvanego::detail
