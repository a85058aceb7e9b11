#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include <tilvanego/values/CharacterTables.h>

/// Scans of text, sixteen bytes at a time. They are fast if most bytes belong to the class, as in a link.
namespace tilvanego::detail {

/// Sixteen bytes, compared all at once.
struct CharacterBlock {
  static constexpr std::size_t size = 16;
  using Bytes [[gnu::vector_size(size)]] = std::uint8_t;

  explicit CharacterBlock(const char* at) { std::memcpy(&bytes, at, size); }

  Bytes bytes;
};

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

/// One byte for each byte of a block: 0xFF where the comparison is true, else 0.
template <typename Comparison>
[[nodiscard]] inline CharacterBlock::Bytes marks(Comparison comparison) {
  return reinterpret_cast<CharacterBlock::Bytes>(comparison);
}

/// Marks the bytes of a block that lie in the range [First, First + Width].
template <std::uint8_t First, std::uint8_t Width>
[[nodiscard]] inline CharacterBlock::Bytes inRange(CharacterBlock::Bytes bytes) {
  if constexpr (Width == 0) {
    return marks(bytes == First);
  } else {
    return marks((bytes - First) <= Width);
  }
}

/// Marks the bytes of a block that belong to `Class`.
template <CharacterClass Class>
[[nodiscard]] inline CharacterBlock::Bytes membersOf(CharacterBlock::Bytes bytes) {
  static constexpr auto ranges = CharacterRanges<Class>::makeRanges();
  return [bytes]<std::size_t... Indices>(std::index_sequence<Indices...>) {
    return (inRange<ranges[Indices].first, ranges[Indices].width>(bytes) | ...);
  }(std::make_index_sequence<ranges.size()>{});
}

[[nodiscard]] inline CharacterBlock::Bytes hexDigitsOf(CharacterBlock::Bytes bytes) {
  constexpr std::uint8_t caseBit = 0x20;
  return inRange<'0', 9>(bytes) | inRange<'a', 5>(bytes | caseBit);
}

/// The marks as two numbers. The first byte is the lowest one.
[[nodiscard]] inline std::array<std::uint64_t, 2> lanesOf(CharacterBlock::Bytes marks) {
  std::array<std::uint64_t, 2> lanes;
  std::memcpy(lanes.data(), &marks, sizeof marks);
  if constexpr (std::endian::native == std::endian::big) {
    for (std::uint64_t& lane : lanes) lane = std::byteswap(lane);
  }
  return lanes;
}

[[nodiscard]] inline bool all(CharacterBlock::Bytes marks) {
  const auto lanes = lanesOf(marks);
  return (lanes[0] & lanes[1]) == ~std::uint64_t{0};
}

/// The number of marked bytes before the first unmarked one, 0 to 16.
[[nodiscard]] inline std::size_t leading(CharacterBlock::Bytes marks) {
  const auto lanes = lanesOf(marks);
  const auto ofLane = [](std::uint64_t lane) { return static_cast<std::size_t>(std::countr_one(lane)) / 8; };
  return lanes[0] == ~std::uint64_t{0} ? 8 + ofLane(lanes[1]) : ofLane(lanes[0]);
}

/// Returns the first position from `at` on that holds neither a member of `Class` nor a whole escape, or
/// `end`.
template <CharacterClass Class>
[[nodiscard]] inline const char* endOfAllowed(const char* at, const char* end) {
  // Whole blocks, as long as all their bytes are allowed. Each byte is checked with the two after it, so that
  // no branch depends on where the escapes are.
  constexpr std::size_t escapeTail = 2;
  while (static_cast<std::size_t>(end - at) >= CharacterBlock::size + escapeTail) {
    const CharacterBlock block(at);
    const auto escapes = marks(block.bytes == static_cast<std::uint8_t>('%')) &
                         hexDigitsOf(CharacterBlock(at + 1).bytes) &
                         hexDigitsOf(CharacterBlock(at + 2).bytes);
    if (!all(membersOf<Class>(block.bytes) | escapes)) break;
    at += CharacterBlock::size;
  }
  while (true) {
    at = endOfRun(at, end, Class);
    if (end - at <= static_cast<std::ptrdiff_t>(escapeTail) || *at != '%') return at;
    if ((hexValue(at[1]) | hexValue(at[2])) < 0) return at;
    at += 1 + escapeTail;
  }
}

/// Returns the first `Expected` from `at` on, or `end`. Fast if it is near; for a long search use memchr.
template <char Expected>
[[nodiscard]] inline const char* findNear(const char* at, const char* end) {
  while (static_cast<std::size_t>(end - at) >= CharacterBlock::size) {
    const std::size_t others =
        leading(~marks(CharacterBlock(at).bytes == static_cast<std::uint8_t>(Expected)));
    at += others;
    if (others < CharacterBlock::size) return at;
  }
  while (at != end && *at != Expected) ++at;
  return at;
}

}  // namespace tilvanego::detail
