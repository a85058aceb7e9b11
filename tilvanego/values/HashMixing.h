#pragma once

#include <bit>
#include <cstddef>

namespace tilvanego::detail {

/// Adds the hash of a further part to that of the parts before it. The order of the parts counts.
[[nodiscard]] constexpr std::size_t mixHash(std::size_t seed, std::size_t hash) {
  return (std::rotl(seed, 5) ^ hash) * static_cast<std::size_t>(0x9E3779B97F4A7C15);
}

}  // namespace tilvanego::detail
