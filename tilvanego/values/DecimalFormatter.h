#pragma once

#include <string>

#include <tilvanego/values/Decimal.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Returns the number as text for JSON bodies: plain positional text with at least one digit before the "."
/// and at most three after it. It is rounded, half to even, from the exact value. No grouping, no trailing
/// zeros. A negative number that rounds to zero keeps its sign: "-0".
[[nodiscard]] std::string formattedDecimal(const Decimal& value);

}  // namespace tilvanego
