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

/// The length of the well-formed UTF-8 sequence (RFC 3629) of two bytes or more that starts at `cursor`, 0 if
/// there is none.
inline std::size_t sequenceLength(const char* cursor, const char* end) {
  const auto byteAt = [&](std::ptrdiff_t i) { return static_cast<unsigned char>(cursor[i]); };
  const auto continues = [&](std::ptrdiff_t i) { return end - cursor > i && (byteAt(i) & 0xC0) == 0x80; };
  const unsigned char lead = byteAt(0);
  if (lead < 0xC2 || lead > 0xF4 || !continues(1)) return 0;
  if (lead < 0xE0) return 2;
  const unsigned char second = byteAt(1);
  if (lead < 0xF0) {
    // Neither overlong forms nor surrogates.
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F)) return 0;
    return continues(2) ? 3 : 0;
  }
  if ((lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) return 0;
  return continues(2) && continues(3) ? 4 : 0;
}

}  // namespace tilvanego::json::detail
