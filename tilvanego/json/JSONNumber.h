#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tilvanego::json::detail {

/// A number of the JSON grammar, taken apart: (-1)^negative * mantissa * 10^exponent.
struct JSONNumber {
  std::string_view text;
  std::uint64_t mantissa = 0;
  std::int64_t exponent = 0;
  /// Digits from the first that isn't 0 to the last; beyond 19 `mantissa` lacks the rest.
  std::int64_t digits = 0;
  bool negative = false;
  /// Neither a fraction nor an exponent was written.
  bool plain = true;

  /// The nearest double; no value beyond the finite range, and none where a number other than 0 would become
  /// 0.
  [[nodiscard]] std::optional<double> asDouble() const;
  /// The same for a float.
  [[nodiscard]] std::optional<float> asFloat() const;
  /// Whole numbers of 64 bits, with or without a sign, exactly, however they are written: `1.0` and `1e2` are
  /// whole, `-0` is 0. So is what no double tells from 0, such as `1e-400`.
  [[nodiscard]] std::optional<std::int64_t> asInteger() const;
  std::optional<std::uint64_t> asUnsigned() const;

 private:
  std::optional<std::uint64_t> wholeMagnitude() const;
};

/// Scans the number that starts at the front of `text`; what follows it is left to the caller. An empty
/// `text` in the result says that the grammar was broken.
[[nodiscard]] JSONNumber scanJSONNumber(std::string_view text);

}  // namespace tilvanego::json::detail
