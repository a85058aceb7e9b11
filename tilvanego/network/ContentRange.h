#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tilvanego::detail {

/// The part of a representation that a response with the status 206 has. Positions count from 0.
struct ContentRange {
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  /// The size of the whole; no value if the server doesn't know it.
  std::optional<std::uint64_t> complete{};

  bool operator==(const ContentRange&) const = default;
};

/// Parses a "Content-Range" field in bytes (RFC 9110, section 14.4). No value for another unit, an
/// unsatisfied range and a range that can't be.
[[nodiscard]] std::optional<ContentRange> parseContentRange(std::string_view field);

}  // namespace tilvanego::detail
