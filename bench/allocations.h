#pragma once

#include <cstddef>

namespace tilvanego::bench {

/// How many times this program has allocated by `operator new`.
[[nodiscard]] std::size_t allocations();

}  // namespace tilvanego::bench
