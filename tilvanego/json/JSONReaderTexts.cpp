#include <tilvanego/json/JSONReader.h>
#include <tilvanego/json/TextScan.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/UTF8.h>
#include <tilvanego/values/Wiping.h>

// How the reader reads strings with escapes or with characters beyond ASCII.
namespace tilvanego {
namespace [[gnu::visibility("default")]] json {
namespace {

using detail::TextEnds;
using tilvanego::detail::appendScalar;
using tilvanego::detail::DecodedScalar;
using tilvanego::detail::decodeScalar;
using tilvanego::detail::isASCII;

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

Reader::~Reader() { tilvanego::detail::wipe(scratch_); }

// Moves to the next quote or backslash.
bool Reader::takeRun(const char*& cursor) {
  for (;;) {
    cursor = detail::endOfPlainText<TextEnds::reading>(cursor, end_);
    if (cursor == end_) return failAt(cursor, JSONFailure::unexpectedEnd);
    if (*cursor == '"' || *cursor == '\\') return true;
    if (isASCII(*cursor)) return failAt(cursor, JSONFailure::controlCharacter);
    const DecodedScalar scalar = decodeScalar({cursor, static_cast<std::size_t>(end_ - cursor)}, 0);
    if (!scalar.wellFormed) return failAt(cursor, JSONFailure::invalidUTF8);
    cursor += scalar.length;
  }
}

// Reads the string whose content begins at `start`, from `cursor` on.
bool Reader::readRestOfText(const char* start, const char* cursor, std::string_view& value) {
  if (!takeRun(cursor)) return false;
  if (*cursor == '\\') return readEscapes(start, cursor, value);
  value = {start, static_cast<std::size_t>(cursor - start)};
  cursor_ = cursor + 1;
  return true;
}

// Reserves space for one escape, too.
void Reader::takeIntoScratch(const char* from, const char* to) {
  constexpr std::size_t longestEscape = 4;
  tilvanego::detail::makeRoom(scratch_, static_cast<std::size_t>(to - from) + longestEscape);
  scratch_.append(from, to);
}

// Decodes a string with escapes into `scratch_`. The first escape is at `cursor`.
bool Reader::readEscapes(const char* start, const char* cursor, std::string_view& value) {
  scratch_.clear();
  takeIntoScratch(start, cursor);
  while (*cursor == '\\') {
    if (!readEscape(cursor)) return false;
    const char* const run = cursor;
    if (!takeRun(cursor)) return false;
    takeIntoScratch(run, cursor);
  }
  cursor_ = cursor + 1;
  value = scratch_;
  return true;
}

// Decodes one escape and appends it to `scratch_`.
bool Reader::readEscape(const char*& cursor) {
  const char* const escape = cursor++;
  if (cursor == end_) return failAt(cursor, JSONFailure::unexpectedEnd);
  constexpr std::string_view letters = "\"\\/bfnrt";
  constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
  const char letter = *cursor++;
  if (const std::size_t at = letters.find(letter); at != letters.npos) {
    scratch_ += meanings[at];
    return true;
  }
  char32_t scalar = 0;
  if (letter != 'u' || !takeUnit(cursor, scalar)) return failAt(escape, JSONFailure::invalidEscape);
  if (isHighSurrogate(scalar)) {
    char32_t low = 0;
    const bool pairs = end_ - cursor >= 2 && cursor[0] == '\\' && cursor[1] == 'u';
    if (pairs) cursor += 2;
    if (!pairs || !takeUnit(cursor, low) || !isLowSurrogate(low))
      return failAt(escape, JSONFailure::invalidEscape);
    scalar = 0x10000 + ((scalar - 0xD800) << 10) + (low - 0xDC00);
  } else if (isLowSurrogate(scalar)) {
    return failAt(escape, JSONFailure::invalidEscape);
  }
  appendScalar(scratch_, scalar);
  return true;
}

// Reads the four hexadecimal digits of an escape.
bool Reader::takeUnit(const char*& cursor, char32_t& unit) {
  if (end_ - cursor < 4) return false;
  for (int i = 0; i < 4; ++i, ++cursor) {
    const int digit = tilvanego::detail::hexValue(*cursor);
    if (digit < 0) return false;
    unit = unit * 16 + static_cast<char32_t>(digit);
  }
  return true;
}

}  // namespace json
}  // namespace tilvanego
