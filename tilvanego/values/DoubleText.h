#pragma once

#include <optional>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// Returns a 64-bit float as text with the fewest digits that read back as the same value: "12.1", "1.0".
/// From 0.0001 to 2^54 (below, every even number is exact) it has no exponent; outside, an exponent of at
/// least two digits: "1e-05", "1.5e+17". NaN is "nan", infinities are "inf" and "-inf".
[[nodiscard]] std::string doubleText(double value);

/// Returns the same as a JSON number (RFC 8259): whole numbers have no ".0". Returns no value for NaN and
/// infinities, which JSON has no form for.
[[nodiscard]] std::optional<std::string> doubleJSONText(double value);

/// Like `doubleJSONText`, for a 32-bit float: the fewest digits that read back as the same float, without an
/// exponent up to 2^24.
[[nodiscard]] std::optional<std::string> floatJSONText(float value);

}  // namespace tilvanego
