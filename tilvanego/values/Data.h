#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
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
  explicit Data(Bytes bytes) : bytes_(std::make_shared<const Bytes>(std::move(bytes))) {}
  explicit Data(std::string_view text) : Data(Bytes(text.begin(), text.end())) {}

  [[nodiscard]] std::span<const std::uint8_t> bytes() const TILVANEGO_LIFETIMEBOUND {
    return bytes_ ? std::span<const std::uint8_t>(*bytes_) : std::span<const std::uint8_t>();
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
  std::shared_ptr<const Bytes> bytes_;
};

}  // namespace tilvanego
