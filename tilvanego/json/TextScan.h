#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

/// The innermost loops of the JSON reader and writer: they pass runs of bytes that need no special treatment.
namespace tilvanego::json::detail {

/// Which ASCII bytes end a run. Control characters and bytes beyond ASCII always do.
enum class TextEnds {
  reading,  ///< quote and backslash
  writing,  ///< those and the slash
};

template <TextEnds ends>
[[nodiscard]] constexpr bool isPlainTextByte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\' && (ends == TextEnds::reading || c != '/');
}

#ifdef __SSE2__
/// Sets all bits of each of the 16 bytes that ends a run.
template <TextEnds ends>
[[nodiscard]] __m128i markEndsOfRun(__m128i block) {
  // As signed bytes, all bytes beyond ASCII and all control characters are less than the blank.
  __m128i found = _mm_cmplt_epi8(block, _mm_set1_epi8(0x20));
  found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8('"')));
  found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8('\\')));
  if constexpr (ends == TextEnds::writing)
    found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8('/')));
  return found;
}

/// Returns one bit for each of the 16 bytes; it is 1 if the byte ends a run.
template <TextEnds ends>
[[nodiscard]] unsigned endsOfRun(__m128i block) {
  return static_cast<unsigned>(_mm_movemask_epi8(markEndsOfRun<ends>(block)));
}

[[nodiscard]] inline __m128i loadBlock(const char* at) {
  __m128i block;
  std::memcpy(&block, at, sizeof block);
  return block;
}
#endif

/// Returns the first position from `cursor` on whose byte ends a run, or `end`.
template <TextEnds ends>
[[nodiscard]] const char* endOfPlainText(const char* cursor, const char* end) {
#ifdef __SSE2__
  for (; end - cursor >= 16; cursor += 16) {
    const unsigned found = endsOfRun<ends>(loadBlock(cursor));
    if (found != 0) return cursor + std::countr_zero(found);
  }
#endif
  while (cursor != end && isPlainTextByte<ends>(*cursor)) ++cursor;
  return cursor;
}

/// Copies `size` bytes to `to` and returns true if none of them ends a run for writing. Otherwise returns
/// false, and the bytes at `to` are meaningless. Short texts are copied in two overlapping halves.
[[nodiscard]] inline bool copyPlainText(const char* from, std::size_t size, char* to) {
#ifdef __SSE2__
  constexpr long long blanks = 0x2020202020202020;
  if (size >= 16) {
    __m128i found = _mm_setzero_si128();
    const auto copyBlock = [&](std::size_t at) {
      const __m128i block = loadBlock(from + at);
      found = _mm_or_si128(found, markEndsOfRun<TextEnds::writing>(block));
      std::memcpy(to + at, &block, sizeof block);
    };
    for (std::size_t at = 0; at + 16 < size; at += 16) copyBlock(at);
    copyBlock(size - 16);
    return _mm_movemask_epi8(found) == 0;
  }
  if (size >= 8) {
    long long first;
    long long last;
    std::memcpy(&first, from, 8);
    std::memcpy(&last, from + size - 8, 8);
    std::memcpy(to, &first, 8);
    std::memcpy(to + size - 8, &last, 8);
    return endsOfRun<TextEnds::writing>(_mm_set_epi64x(first, last)) == 0;
  }
  if (size >= 4) {
    int first;
    int last;
    std::memcpy(&first, from, 4);
    std::memcpy(&last, from + size - 4, 4);
    std::memcpy(to, &first, 4);
    std::memcpy(to + size - 4, &last, 4);
    return endsOfRun<TextEnds::writing>(
               _mm_unpacklo_epi64(_mm_set_epi32(0, 0, first, last), _mm_set1_epi64x(blanks))) == 0;
  }
#endif
  bool plain = true;
  for (std::size_t i = 0; i < size; ++i) {
    to[i] = from[i];
    plain &= isPlainTextByte<TextEnds::writing>(from[i]);
  }
  return plain;
}

}  // namespace tilvanego::json::detail
