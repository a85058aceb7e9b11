#pragma once

#include <cstddef>

namespace [[gnu::visibility("default")]] tilvanego {

/// How deep arrays and objects may nest, on reading and writing. It limits the stack that a hostile text can
/// use.
inline constexpr std::size_t jsonDepthLimit = 512;

/// Limits for reading one JSON text. Beyond a limit the text is refused (`JSONFailure::beyondLimit`). The
/// defaults suit every response of a payment service, and refuse a text that was made to fill the memory.
struct JSONLimits {
  /// The length of the text, in bytes.
  std::size_t bytes = std::size_t{64} << 20;
  /// The number of elements of arrays and entries of objects, at all levels together. Skipped ones count,
  /// too.
  std::size_t elements = std::size_t{1} << 22;
  /// The number of nested arrays and objects. `jsonDepthLimit` at most.
  std::size_t depth = jsonDepthLimit;
  /// The memory, in bytes, that vectors, maps and the records in them use at any moment of reading. Strings
  /// do not count: they need no more memory than the JSON text.
  std::size_t memory = std::size_t{256} << 20;

  bool operator==(const JSONLimits&) const = default;
};

}  // namespace tilvanego
