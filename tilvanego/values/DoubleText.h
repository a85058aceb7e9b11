#pragma once

#include <optional>
#include <string>

namespace tilvanego {

/// A 64-bit float in its default text form: the fewest digits that read back as the same value, "12.1",
/// "1.0". Plain from 0.0001 to 2^54, up to which every even number is exact; beyond with an exponent of two
/// digits or more, "1e-05", "1.5e+17". Without a number "nan", "inf" or "-inf".
[[nodiscard]] std::string doubleText(double value);

/// The same as a JSON number (RFC 8259): without the ".0" of whole numbers. Nothing for NaN and infinities,
/// which JSON can't say.
[[nodiscard]] std::optional<std::string> doubleJSONText(double value);

/// The same for a 32-bit float: the fewest digits that read back as the same float. Plain up to 2^24.
[[nodiscard]] std::optional<std::string> floatJSONText(float value);

}  // namespace tilvanego
