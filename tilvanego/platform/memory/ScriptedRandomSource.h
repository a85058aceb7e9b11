#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>

#include <tilvanego/platform/RandomSource.h>
#include <tilvanego/values/Bytes.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A random source that returns given bytes, or fails. For tests only: the bytes are not secret.
class ScriptedRandomSource final : public RandomSource {
 public:
  /// `script` has the bytes that the calls of `fill` return, one after the other. Without bytes, `fill`
  /// fails.
  explicit ScriptedRandomSource(Bytes script = {}) : script_(std::move(script)) {}

  /// Fails, and returns no bytes, if too few are left.
  [[nodiscard]] bool fill(std::span<std::uint8_t> bytes) override {
    const auto left = std::span(script_).subspan(std::min(given_, script_.size()));
    if (left.size() < bytes.size()) return false;
    std::ranges::copy(left.first(bytes.size()), bytes.begin());
    given_ += bytes.size();
    return true;
  }

 private:
  Bytes script_;
  std::size_t given_ = 0;
};

}  // namespace tilvanego
