#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Text in blocks of sixteen bytes, compared all at once. The compilers' own vector types make of it what
/// each processor has.
namespace tilvanego::detail {

inline constexpr std::size_t blockSize = 16;

/// Its bytes are signed: those beyond ASCII are less than zero. A comparison gives marks: a block with all
/// bits of a byte set where the comparison is true, and none where it is false.
using Block [[gnu::vector_size(blockSize)]] = std::int8_t;

[[nodiscard]] inline Block loadBlock(const char* at) {
  Block block;
  std::memcpy(&block, at, blockSize);
  return block;
}

// Marks as bits, `bitsOfMark` for each byte, in the order of memory. x86 has an instruction for it that no
// operator of vectors stands for; the other form becomes one instruction of 64-bit ARM.
#ifdef __SSE2__
using MarkBits = std::uint32_t;
inline constexpr std::size_t bitsOfMark = 1;

[[nodiscard]] inline MarkBits markBits(Block marks) {
  using Characters [[gnu::vector_size(blockSize)]] = char;
  return static_cast<MarkBits>(__builtin_ia32_pmovmskb128(reinterpret_cast<Characters>(marks)));
}
#else
using MarkBits = std::uint64_t;
inline constexpr std::size_t bitsOfMark = 4;

[[nodiscard]] inline MarkBits markBits(Block marks) {
  // A pair of bytes, shifted by four, has four bits of each in its low byte.
  using Pairs [[gnu::vector_size(blockSize)]] = std::uint16_t;
  using Bytes [[gnu::vector_size(blockSize / 2)]] = std::uint8_t;
  return std::bit_cast<MarkBits>(__builtin_convertvector(reinterpret_cast<Pairs>(marks) >> 4, Bytes));
}
#endif

[[nodiscard]] inline bool anyMarked(Block marks) { return markBits(marks) != 0; }

/// The index of the first marked byte, or 16.
[[nodiscard]] inline std::size_t firstMarked(Block marks) {
  const MarkBits bits = markBits(marks);
  const int before =
      std::endian::native == std::endian::little ? std::countr_zero(bits) : std::countl_zero(bits);
  return bits == 0 ? blockSize : static_cast<std::size_t>(before) / bitsOfMark;
}

/// Returns the first position from `at` on that `marksOf` marks, or `end`. `marksOf` takes a block and
/// returns its marks, and takes a single byte and returns whether it is marked: a generic lambda is both.
template <typename MarksOf>
[[nodiscard]] inline const char* findMarked(const char* at, const char* end, MarksOf marksOf) {
  for (; static_cast<std::size_t>(end - at) >= blockSize; at += blockSize) {
    const Block marks = marksOf(loadBlock(at));
    if (anyMarked(marks)) return at + firstMarked(marks);
  }
  while (at != end && !marksOf(static_cast<std::int8_t>(*at))) ++at;
  return at;
}

}  // namespace tilvanego::detail
