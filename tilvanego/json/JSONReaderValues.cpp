// How the reader recognises the kind of a value, and reads null, booleans, numbers, and strings with escapes
// or with characters beyond ASCII.

#include <tilvanego/json/JSONReader.h>
#include <tilvanego/json/TextScan.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/UTF8.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::json {
namespace {

using detail::TextEnds;
using tilvanego::detail::appendScalar;
using tilvanego::detail::DecodedScalar;
using tilvanego::detail::decodeScalar;
using tilvanego::detail::isASCII;

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

constexpr bool startsNumber(char c) { return c == '-' || (c >= '0' && c <= '9'); }

std::optional<JSONKind> kindFrom(char first) {
  switch (first) {
    case '"':
      return JSONKind::string;
    case '{':
      return JSONKind::object;
    case '[':
      return JSONKind::array;
    case 't':
    case 'f':
      return JSONKind::boolean;
    case 'n':
      return JSONKind::null;
    default:
      return startsNumber(first) ? std::optional(JSONKind::number) : std::nullopt;
  }
}

// Reads a number as `meaning` returns it, or fails with `complaint`.
template <typename Value>
bool readBy(Reader& reader, std::optional<Value> (detail::JSONNumber::*meaning)() const, Value& value,
            const char* complaint = "") {
  detail::JSONNumber number;
  if (!reader.readNumber(number)) return false;
  const std::optional<Value> read = (number.*meaning)();
  value = read.value_or(0);
  return read || reader.fail(JSONFailure::numberOutOfRange, complaint);
}

}  // namespace

bool Reader::failKind(JSONKind expected) {
  if (cursor_ == end_) return failAt(cursor_, JSONFailure::unexpectedEnd);
  const auto found = kindFrom(*cursor_);
  error_.found = found.value_or(JSONKind::number);
  if (!found) return failAt(cursor_, JSONFailure::unexpectedCharacter);
  error_.expected = expected;
  return failAt(cursor_, JSONFailure::wrongKind);
}

bool Reader::peek(JSONKind& kind) {
  skipBlanks();
  value_ = cursor_;
  if (cursor_ == end_) return failAt(cursor_, JSONFailure::unexpectedEnd);
  const auto found = kindFrom(*cursor_);
  kind = found.value_or(kind);
  return found || failAt(cursor_, JSONFailure::unexpectedCharacter);
}

bool Reader::takeWord(std::string_view word) {
  const std::string_view rest(cursor_, static_cast<std::size_t>(end_ - cursor_));
  if (!rest.starts_with(word)) return false;
  cursor_ += word.size();
  return true;
}

bool Reader::takeNull() {
  skipBlanks();
  value_ = cursor_;
  return takeWord("null");
}

bool Reader::readBoolean(bool& value) {
  skipBlanks();
  value_ = cursor_;
  value = takeWord("true");
  if (value || takeWord("false")) return true;
  JSONKind found{};
  if (!peek(found)) return false;
  return found == JSONKind::boolean ? failAt(cursor_, JSONFailure::unexpectedCharacter)
                                    : failKind(JSONKind::boolean);
}

bool Reader::readNumber(detail::JSONNumber& number) {
  skipBlanks();
  value_ = cursor_;
  if (cursor_ == end_ || !startsNumber(*cursor_)) return failKind(JSONKind::number);
  number = detail::scanJSONNumber({cursor_, static_cast<std::size_t>(end_ - cursor_)});
  cursor_ += number.text.size();
  return !number.text.empty() || failAt(value_, JSONFailure::invalidNumber);
}

bool Reader::readInteger(std::int64_t& value) {
  return readBy(*this, &detail::JSONNumber::asInteger, value, "the number is not a whole number of 64 bits");
}

bool Reader::readInteger(std::uint64_t& value) {
  return readBy(*this, &detail::JSONNumber::asUnsigned, value,
                "the number is not a whole number of 64 bits without a sign");
}

bool Reader::readDouble(double& value) { return readBy(*this, &detail::JSONNumber::asDouble, value); }

bool Reader::readFloat(float& value) { return readBy(*this, &detail::JSONNumber::asFloat, value); }

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

}  // namespace tilvanego::json
