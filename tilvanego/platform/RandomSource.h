#pragma once

#include <cstdint>
#include <span>

namespace [[gnu::visibility("default")]] tilvanego {

/// The port that returns random bytes. Used on the main thread only.
class RandomSource {
 public:
  virtual ~RandomSource() = default;

  /// Fills `bytes` with random bytes for keys and ids. Returns false if the source fails; the bytes then have
  /// any values. May throw: counts as false.
  [[nodiscard]] virtual bool fill(std::span<std::uint8_t> bytes) = 0;
};

}  // namespace tilvanego
