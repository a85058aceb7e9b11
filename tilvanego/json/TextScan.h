#pragma once

#include <cstddef>
#include <cstring>

#include <tilvanego/values/Blocks.h>

/// The innermost loops of the JSON reader and writer: they pass runs of bytes that need no special treatment.
namespace tilvanego::json::detail {

using tilvanego::detail::anyMarked;
using tilvanego::detail::Block;
using tilvanego::detail::blockSize;
using tilvanego::detail::loadBlock;

/// Which ASCII bytes end a run. Control characters and bytes beyond ASCII always do.
enum class TextEnds {
  reading,  ///< quote and backslash
  writing,  ///< those and the slash
};

/// Marks what ends a run in a block or, as an integer, in one signed byte.
template <TextEnds ends>
constexpr auto endsOfRun = [](auto bytes) {
  // As signed bytes, all bytes beyond ASCII and all control characters are less than the blank.
  const auto found = (bytes < 0x20) | (bytes == '"') | (bytes == '\\');
  if constexpr (ends == TextEnds::reading) return found;
  return found | (bytes == '/');
};

/// Returns the first position from `cursor` on whose byte ends a run, or `end`.
template <TextEnds ends>
[[nodiscard]] const char* endOfPlainText(const char* cursor, const char* end) {
  return tilvanego::detail::findMarked(cursor, end, endsOfRun<ends>);
}

// What is gathered of many blocks is kept as numbers: of bytes g++ makes a choice where an OR is enough.
using Halves [[gnu::vector_size(blockSize)]] = std::uint64_t;

/// Copies four to fifteen bytes in two halves, which may overlap. Returns true if none of them ends a run for
/// writing.
template <typename Half>
[[nodiscard]] bool copyInHalves(const char* from, std::size_t size, char* to) {
  Half first;
  Half last;
  std::memcpy(&first, from, sizeof first);
  std::memcpy(&last, from + size - sizeof last, sizeof last);
  std::memcpy(to, &first, sizeof first);
  std::memcpy(to + size - sizeof last, &last, sizeof last);
  constexpr std::uint64_t blanks = sizeof(Half) == 8 ? 0 : 0x2020'2020'0000'0000;
  const Halves halves{first | blanks, last | blanks};
  return !anyMarked(endsOfRun<TextEnds::writing>(reinterpret_cast<Block>(halves)));
}

/// Copies `size` bytes to `to` and returns true if none of them ends a run for writing. Otherwise returns
/// false, and the bytes at `to` are meaningless.
[[nodiscard]] inline bool copyPlainText(const char* from, std::size_t size, char* to) {
  if (size >= blockSize) {
    Halves found{};
    const auto copyBlock = [&](std::size_t at) {
      const Block block = loadBlock(from + at);
      found |= reinterpret_cast<Halves>(endsOfRun<TextEnds::writing>(block));
      std::memcpy(to + at, &block, blockSize);
    };
    for (std::size_t at = 0; at + blockSize < size; at += blockSize) copyBlock(at);
    copyBlock(size - blockSize);
    return !anyMarked(reinterpret_cast<Block>(found));
  }
  if (size >= 8) return copyInHalves<std::uint64_t>(from, size, to);
  if (size >= 4) return copyInHalves<std::uint32_t>(from, size, to);
  bool plain = true;
  for (std::size_t i = 0; i < size; ++i) {
    to[i] = from[i];
    plain &= !endsOfRun<TextEnds::writing>(static_cast<std::int8_t>(from[i]));
  }
  return plain;
}

}  // namespace tilvanego::json::detail
