#pragma once

#include <cstddef>

namespace [[gnu::visibility("default")]] tilvanego {

/// How deeply lists and objects may nest, reading and writing; one level more is refused. It bounds the stack
/// that a hostile text can make the library use.
inline constexpr std::size_t jsonDepthLimit = 512;

/// What reading one JSON text may cost; beyond a limit it is refused (`JSONFailure::beyondLimit`). The
/// defaults leave room for any answer of a payment service, and none for a text that was made to fill the
/// memory.
struct JSONLimits {
  /// The length of the text.
  std::size_t bytes = std::size_t{64} << 20;
  /// Elements of lists and entries of objects, at all levels together, those that are passed over too.
  std::size_t elements = std::size_t{1} << 22;
  /// Levels of lists and objects. More than `jsonDepthLimit` counts as that.
  std::size_t depth = jsonDepthLimit;
  /// Memory in bytes that lists, dictionaries and the records in them ask for at any moment of reading. Texts
  /// don't count: they take no more than they have in the JSON.
  std::size_t memory = std::size_t{256} << 20;

  bool operator==(const JSONLimits&) const = default;
};

}  // namespace tilvanego
