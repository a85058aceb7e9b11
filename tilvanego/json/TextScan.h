#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

/// The innermost loops of the JSON reader and writer: runs of bytes that need no look one by one.
namespace tilvanego::json::detail {

/// Which ASCII bytes end a run, besides control characters and bytes beyond ASCII.
enum class TextEnds {
  reading,  ///< quote and backslash
  writing,  ///< those and the slash
};

template <TextEnds ends>
constexpr bool isPlainTextByte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\' && (ends == TextEnds::reading || c != '/');
}

#ifdef __SSE2__
/// One bit for each of the 16 bytes that ends a run.
template <TextEnds ends>
unsigned endsOfRun(__m128i block) {
  // As signed bytes everything beyond ASCII lies below the blank, together with the control characters.
  __m128i found = _mm_cmplt_epi8(block, _mm_set1_epi8(0x20));
  found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8('"')));
  found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8('\\')));
  if constexpr (ends == TextEnds::writing)
    found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8('/')));
  return static_cast<unsigned>(_mm_movemask_epi8(found));
}

inline __m128i loadBlock(const char* at) {
  __m128i block;
  std::memcpy(&block, at, sizeof block);
  return block;
}
#endif

/// The first byte from `cursor` on that ends a run, or `end`.
template <TextEnds ends>
const char* endOfPlainText(const char* cursor, const char* end) {
#ifdef __SSE2__
  for (; end - cursor >= 16; cursor += 16) {
    const unsigned found = endsOfRun<ends>(loadBlock(cursor));
    if (found != 0) return cursor + std::countr_zero(found);
  }
#endif
  while (cursor != end && isPlainTextByte<ends>(*cursor)) ++cursor;
  return cursor;
}

}  // namespace tilvanego::json::detail
