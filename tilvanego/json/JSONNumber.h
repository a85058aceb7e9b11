#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tilvanego::json::detail {

/// A JSON number and its parts: (-1)^negative * mantissa * 10^exponent.
struct JSONNumber {
  std::string_view text;
  std::uint64_t mantissa = 0;
  std::int64_t exponent = 0;
  /// The number of digits from the first one that is not 0 to the last one. `mantissa` holds the first 19
  /// only.
  std::int64_t digits = 0;
  bool negative = false;
  /// True if the number is written without a fraction and without an exponent.
  bool plain = true;

  /// Returns the nearest double. Returns no value if that is infinite, or if it is 0 and the number is not.
  [[nodiscard]] std::optional<double> asDouble() const;
  /// Like `asDouble`, for a float.
  [[nodiscard]] std::optional<float> asFloat() const;
  /// Return a whole number of 64 bits, exactly, in any form: `1.0` and `1e2` are whole, `-0` is 0. A number
  /// too small for a double, such as `1e-400`, is 0.
  [[nodiscard]] std::optional<std::int64_t> asInteger() const;
  std::optional<std::uint64_t> asUnsigned() const;

 private:
  std::optional<std::uint64_t> wholeMagnitude() const;
};

/// Reads the number at the start of `text` and ignores what follows it. If the grammar is broken, the
/// result's `text` is empty.
[[nodiscard]] JSONNumber scanJSONNumber(std::string_view text);

}  // namespace tilvanego::json::detail
