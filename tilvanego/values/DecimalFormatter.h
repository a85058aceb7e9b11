#pragma once

#include <string>

#include <tilvanego/values/Decimal.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The number in the form that JSON bodies carry: plain positional text with at least one digit before the
/// ".", at most three after it, rounded half to even from the exact value, no grouping and no trailing zeros.
/// A negative number that rounds to zero keeps its sign: "-0".
[[nodiscard]] std::string formattedDecimal(const Decimal& value);

}  // namespace tilvanego
