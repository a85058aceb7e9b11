#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <tilvanego/values/Blocks.h>
#include <tilvanego/values/CharacterTables.h>

/// Scans of text, a block at a time. They are fast if most bytes belong to the class, as in a link.
namespace tilvanego::detail {

/// The members of a class as ranges of bytes, so that a block is tested without a table.
template <CharacterClass Class>
struct CharacterRanges {
  struct Range {
    std::uint8_t first;
    std::uint8_t width;
  };

  [[nodiscard]] static consteval std::size_t countRanges() {
    std::size_t count = 0;
    for (int byte = 0; byte < 256; ++byte) count += startsRange(byte) ? 1U : 0U;
    return count;
  }

  [[nodiscard]] static consteval auto makeRanges() {
    std::array<Range, countRanges()> ranges{};
    std::size_t index = 0;
    for (int byte = 0; byte < 256; ++byte) {
      if (!startsRange(byte)) continue;
      int last = byte;
      while (isMember(last + 1)) ++last;
      ranges[index++] = {static_cast<std::uint8_t>(byte), static_cast<std::uint8_t>(last - byte)};
    }
    return ranges;
  }

 private:
  static consteval bool isMember(int byte) {
    return byte >= 0 && byte < 256 && belongs(static_cast<char>(static_cast<std::uint8_t>(byte)), Class);
  }
  static consteval bool startsRange(int byte) { return isMember(byte) && !isMember(byte - 1); }
};

/// Marks the bytes of a block that lie in the range [First, First + Width].
template <std::uint8_t First, std::uint8_t Width>
[[nodiscard]] inline Block inRange(Block bytes) {
  using Unsigned [[gnu::vector_size(blockSize)]] = std::uint8_t;
  return reinterpret_cast<Block>((reinterpret_cast<Unsigned>(bytes) - First) <= Width);
}

/// Marks the bytes of a block that belong to `Class`.
template <CharacterClass Class>
[[nodiscard]] inline Block membersOf(Block bytes) {
  static constexpr auto ranges = CharacterRanges<Class>::makeRanges();
  return [bytes]<std::size_t... Indices>(std::index_sequence<Indices...>) {
    return (inRange<ranges[Indices].first, ranges[Indices].width>(bytes) | ...);
  }(std::make_index_sequence<ranges.size()>{});
}

[[nodiscard]] inline Block hexDigitsOf(Block bytes) {
  constexpr std::int8_t caseBit = 0x20;
  return inRange<'0', 9>(bytes) | inRange<'a', 5>(bytes | caseBit);
}

/// Returns the first position from `at` on that holds neither a member of `Class` nor a whole escape, or
/// `end`.
template <CharacterClass Class>
[[nodiscard]] inline const char* endOfAllowed(const char* at, const char* end) {
  // Whole blocks, as long as all their bytes are allowed. Each byte is checked with the two after it, so that
  // no branch depends on where the escapes are.
  constexpr std::size_t escapeTail = 2;
  while (static_cast<std::size_t>(end - at) >= blockSize + escapeTail) {
    const Block block = loadBlock(at);
    const Block escapes = (block == '%') & hexDigitsOf(loadBlock(at + 1)) & hexDigitsOf(loadBlock(at + 2));
    if (anyMarked(~(membersOf<Class>(block) | escapes))) break;
    at += blockSize;
  }
  while (true) {
    at = endOfRun(at, end, Class);
    if (end - at <= static_cast<std::ptrdiff_t>(escapeTail) || *at != '%') return at;
    if ((hexValue(at[1]) | hexValue(at[2])) < 0) return at;
    at += 1 + escapeTail;
  }
}

}  // namespace tilvanego::detail
