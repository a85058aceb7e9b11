#pragma once

#include <cstdint>
#include <span>

namespace [[gnu::visibility("default")]] tilvanego {

/// Where unguessable bytes come from. The main thread's.
class RandomSource {
 public:
  virtual ~RandomSource() = default;

  /// Fills `bytes` with bytes fit for keys and ids. False, with no promise about their values, if the source
  /// fails. May throw: counts as false.
  [[nodiscard]] virtual bool fill(std::span<std::uint8_t> bytes) = 0;
};

}  // namespace tilvanego
