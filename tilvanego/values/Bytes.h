#pragma once

#include <cstdint>
#include <vector>

namespace [[gnu::visibility("default")]] tilvanego {

/// Binary data, owned by the object that holds it.
using Bytes = std::vector<std::uint8_t>;

}  // namespace tilvanego
