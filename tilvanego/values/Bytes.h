#pragma once

#include <cstdint>
#include <vector>

namespace [[gnu::visibility("default")]] tilvanego {

/// Binary data that its holder owns.
using Bytes = std::vector<std::uint8_t>;

}  // namespace tilvanego
