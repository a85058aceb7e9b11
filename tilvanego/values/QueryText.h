#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include <tilvanego/values/CharacterRuns.h>
#include <tilvanego/values/PercentEncoding.h>

namespace tilvanego::detail {

/// `writeQueryText` copies whole blocks: the buffer must have this many bytes more than the encoded text.
inline constexpr std::size_t queryTextSlack = blockSize;

/// Writes a name or a value of a query, percent-encoded. Returns the end of what it wrote.
inline char* writeQueryText(char* out, std::string_view text) {
  const char* at = text.data();
  const char* const end = at + text.size();
  const auto writeOne = [&out](char character) {
    if (belongs(character, CharacterClass::queryItem)) {
      *out++ = character;
    } else {
      out = writeEscape(out, character);
    }
  };
  while (static_cast<std::size_t>(end - at) >= blockSize) {
    const Block block = loadBlock(at);
    std::memcpy(out, &block, blockSize);
    const std::size_t kept = firstMarked(~membersOf<CharacterClass::queryItem>(block));
    at += kept;
    out += kept;
    if (kept < blockSize) writeOne(*at++);
  }
  while (at != end) writeOne(*at++);
  return out;
}

}  // namespace tilvanego::detail
