#include <tilvanego/json/JSONReader.h>

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <cstring>
#include <limits>
#include <utility>

#include <tilvanego/json/RecordTable.h>
#include <tilvanego/json/TextScan.h>

namespace tilvanego::json {
namespace {

using detail::TextEnds;
using tilvanego::detail::anyMarked;
using tilvanego::detail::Block;
using tilvanego::detail::blockSize;
using tilvanego::detail::loadBlock;

constexpr std::size_t uncounted = std::numeric_limits<std::size_t>::max();
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

}  // namespace

Reader::Reader(std::string_view text, const JSONDates* dates, const JSONLimits& limits)
    : begin_(text.data()),
      cursor_(begin_),
      end_(begin_ + text.size()),
      value_(begin_),
      dates_(dates),
      limits_(limits),
      ownMemoryLeft_(limits.memory),
      elementsLeft_(limits.elements) {
  limits_.depth = std::min(limits.depth, jsonDepthLimit);
  if (text.size() > limits.bytes) {
    end_ = begin_;
    isTooLong_ = true;
  } else if (text.starts_with(byteOrderMark)) {
    cursor_ += byteOrderMark.size();
  }
}

// The elements of the piece were counted when `whole` skipped it.
Reader::Reader(std::string_view piece, Reader& whole) : Reader(piece, whole.dates_, whole.limits_) {
  memoryLeft_ = whole.memoryLeft_;
  elementsLeft_ = uncounted;
}

// Texts

inline bool Reader::startValue(JSONKind expected, char first) {
  skipBlanks();
  value_ = cursor_;
  return (cursor_ != end_ && *cursor_ == first) || failKind(expected);
}

// Reads the string whose content begins at `start`. Most strings end at the first byte that is not plain.
inline bool Reader::readTextFrom(const char* start, std::string_view& value) {
  const char* const cursor = detail::endOfPlainText<TextEnds::reading>(start, end_);
  if (cursor == end_ || *cursor != '"') return readRestOfText(start, cursor, value);
  value = {start, static_cast<std::size_t>(cursor - start)};
  cursor_ = cursor + 1;
  return true;
}

bool Reader::readText(std::string& value) {
  std::string_view view;
  if (!startValue(JSONKind::string, '"') || !readTextFrom(cursor_ + 1, view)) return false;
  value.assign(view);
  return true;
}

bool Reader::readText(std::optional<std::string>& value) {
  skipBlanks();
  if (cursor_ != end_ && *cursor_ == 'n') {
    value.reset();
    return takeWord("null") || failAt(cursor_, JSONFailure::unexpectedCharacter);
  }
  std::string_view view;
  if (!startValue(JSONKind::string, '"') || !readTextFrom(cursor_ + 1, view)) return false;
  value.emplace(view);
  return true;
}

bool Reader::readText(std::string_view& value) {
  return startValue(JSONKind::string, '"') && readTextFrom(cursor_ + 1, value);
}

// Arrays and objects

bool Reader::open(char first) {
  if (!startValue(first == '{' ? JSONKind::object : JSONKind::array, first)) return false;
  if (depth_ >= limits_.depth) return failAt(cursor_, JSONFailure::tooDeep);
  ++cursor_;
  ++depth_;
  atStart_ = true;
  return true;
}

bool Reader::beginArray() { return open('['); }
bool Reader::beginObject() { return open('{'); }

inline Reader::Next Reader::nextItem(char closing) {
  skipBlanks();
  if (cursor_ != end_ && *cursor_ == closing) {
    ++cursor_;
    --depth_;
    atStart_ = false;
    return Next::end;
  }
  if (!atStart_) {
    if (cursor_ == end_ || *cursor_ != ',') {
      failAt(cursor_, cursor_ == end_ ? JSONFailure::unexpectedEnd : JSONFailure::unexpectedCharacter);
      return Next::failure;
    }
    ++cursor_;
  }
  atStart_ = false;
  if (elementsLeft_ == 0) return failBeyondElements();
  --elementsLeft_;
  return Next::item;
}

Reader::Next Reader::nextElement() { return nextItem(']'); }

inline bool Reader::takeColon() {
  skipBlanks();
  if (cursor_ == end_) return failAt(cursor_, JSONFailure::unexpectedEnd);
  if (*cursor_ != ':') return failAt(cursor_, JSONFailure::unexpectedCharacter);
  ++cursor_;
  return true;
}

Reader::Next Reader::nextKey(std::string_view& key) {
  const Next next = nextItem('}');
  if (next != Next::item) return next;
  skipBlanks();
  if (cursor_ != end_ && *cursor_ == '"') return readText(key) && takeColon() ? Next::item : Next::failure;
  failAt(cursor_, cursor_ == end_ ? JSONFailure::unexpectedEnd : JSONFailure::unexpectedCharacter);
  return Next::failure;
}

bool Reader::skipScalar() {
  JSONKind kind{};
  if (!peek(kind)) return false;
  switch (kind) {
    case JSONKind::null:
      return takeWord("null") || failAt(cursor_, JSONFailure::unexpectedCharacter);
    case JSONKind::boolean: {
      bool value = false;
      return readBoolean(value);
    }
    case JSONKind::number: {
      detail::JSONNumber number;
      return readNumber(number);
    }
    default: {
      std::string_view text;
      return readText(text);
    }
  }
}

bool Reader::skip() {
  std::bitset<jsonDepthLimit + 1> isObject;
  const std::size_t outside = depth_;
  do {
    skipBlanks();
    const char first = cursor_ == end_ ? '\0' : *cursor_;
    if (first == '{' || first == '[') {
      if (!open(first)) return false;
      isObject[depth_] = first == '{';
    } else if (!skipScalar()) {
      return false;
    }
    // Moves to the next value, and leaves the arrays and objects that end before it.
    Next next = Next::end;
    while (depth_ > outside && next == Next::end) {
      std::string_view key;
      next = isObject[depth_] ? nextKey(key) : nextElement();
    }
    if (next == Next::failure) return false;
  } while (depth_ > outside);
  return true;
}

bool Reader::skip(std::string_view& text) {
  skipBlanks();
  const char* const start = cursor_;
  if (!skip()) return false;
  text = {start, static_cast<std::size_t>(cursor_ - start)};
  return true;
}

bool Reader::finish() {
  skipBlanks();
  return cursor_ == end_ || failAt(cursor_, JSONFailure::trailingContent);
}

// Records

// Reads the field's key if it is the next one, written without escapes.
inline bool Reader::takeKey(const RecordField& field) {
  const std::size_t size = field.quoted.size();
  const auto left = static_cast<std::size_t>(end_ - cursor_);
  if (left >= blockSize) {
    // Beyond the key, its block has zeros.
    const Block lead = loadBlock(field.lead.data());
    if (anyMarked(~((lead == loadBlock(cursor_)) | (lead == 0)))) return false;
    if (size <= blockSize) {
      cursor_ += size;
      return true;
    }
  }
  if (left < size || std::memcmp(cursor_, field.quoted.data(), size) != 0) return false;
  cursor_ += size;
  return true;
}

// Reads a key with its colon and finds its field, or the number of fields for an unknown key. Most texts have
// their keys in the order of the table or in ascending order, so the two fields that would then follow
// `previous` are compared first.
inline bool Reader::matchField(const RecordTable& table, std::size_t previous, std::size_t& field) {
  skipBlanks();
  const std::size_t count = table.fields.size();
  const bool isFirst = previous == count;
  field = isFirst ? 0 : previous + 1;
  if (field < count && takeKey(table.fields[field])) return takeColon();
  if (count != 0) {
    field = isFirst ? table.sorted[0] : table.fields[previous].afterInSorted;
    if (takeKey(table.fields[field])) return takeColon();
  }
  std::string_view key;
  if (cursor_ == end_ || *cursor_ != '"') {
    return failAt(cursor_, cursor_ == end_ ? JSONFailure::unexpectedEnd : JSONFailure::unexpectedCharacter);
  }
  if (!readTextFrom(cursor_ + 1, key)) return false;
  field = table.find(key);
  return takeColon();
}

bool Reader::failForMissing(const RecordTable& table, std::size_t field) {
  error_.detail = table.fields[field].key();
  return failAt(cursor_ - 1, JSONFailure::missingKey);
}

// Clears the fields that are missing in the text: the record may have former values.
inline void Reader::clearAbsent(const RecordTable& table, std::uint64_t seen, void* record) {
  if ((table.clearable & ~seen) != 0) table.clear(record, table.clearable & ~seen);
}

// The object is open. First finds all its values, then reads them.
bool Reader::readFieldsInOrder(const RecordTable& table, void* record) {
  std::array<const char*, RecordTable::maxFields> values{};
  std::string_view key;
  Next next{};
  while ((next = nextKey(key)) == Next::item) {
    const std::size_t field = table.find(key);
    if (field < table.fields.size() && values[field] == nullptr) values[field] = cursor_;
    if (!skip()) return false;
  }
  if (next == Next::failure) return false;
  const char* const end = cursor_;
  // All elements of the object have been counted.
  const std::size_t elementsLeft = std::exchange(elementsLeft_, uncounted);
  std::uint64_t seen = 0;
  ++depth_;
  for (std::size_t i = 0; i < table.fields.size(); ++i) {
    cursor_ = end;
    if (values[i] == nullptr) {
      if ((table.required >> i & 1) != 0) return failForMissing(table, i);
      continue;
    }
    seen |= std::uint64_t{1} << i;
    cursor_ = values[i];
    if (!table.fields[i].read(*this, record)) return failInside(std::string(table.fields[i].key()));
  }
  cursor_ = end;
  --depth_;
  elementsLeft_ = elementsLeft;
  clearAbsent(table, seen, record);
  return true;
}

bool Reader::readRecord(const RecordTable& table, void* record) {
  if (!open('{')) return false;
  if (inFieldOrder_) return readFieldsInOrder(table, record);
  std::uint64_t seen = 0;
  std::size_t previous = table.fields.size();
  for (;;) {
    const Next next = nextItem('}');
    if (next == Next::failure) return false;
    if (next == Next::end) break;
    std::size_t field = 0;
    if (!matchField(table, previous, field)) return false;
    const std::uint64_t bit = field < table.fields.size() ? std::uint64_t{1} << field : 0;
    if (bit == 0 || (seen & bit) != 0) {
      if (!skip()) return false;
      continue;
    }
    seen |= bit;
    previous = field;
    if (!table.fields[field].read(*this, record)) return failInside(std::string(table.fields[field].key()));
  }
  const std::uint64_t missing = table.required & ~seen;
  if (missing != 0) return failForMissing(table, static_cast<std::size_t>(std::countr_zero(missing)));
  clearAbsent(table, seen, record);
  return true;
}

// How the reader stores the reason of a failure.

bool Reader::failAt(const char* where, JSONFailure failure) {
  error_.failure = failure;
  if (isTooLong_) {
    error_.failure = JSONFailure::beyondLimit;
    error_.detail = "the text is longer than " + std::to_string(limits_.bytes) + " bytes";
  }
  error_.offset = static_cast<std::size_t>(where - begin_);
  return false;
}

bool Reader::fail(JSONFailure failure, std::string detail) {
  error_.detail = std::move(detail);
  return failAt(value_, failure);
}

bool Reader::failBeyondMemory() {
  return fail(JSONFailure::beyondLimit,
              "what was read takes more than " + std::to_string(limits_.memory) + " bytes of memory");
}

Reader::Next Reader::failBeyondElements() {
  value_ = cursor_;
  fail(JSONFailure::beyondLimit, "more than " + std::to_string(limits_.elements) + " elements");
  return Next::failure;
}

bool Reader::failInside(JSONPathStep step) {
  error_.stepsOutward.push_back(std::move(step));
  return false;
}

bool Reader::failIn(std::string_view piece, JSONError error) {
  error_ = std::move(error);
  error_.offset += static_cast<std::size_t>(piece.data() - begin_);
  return false;
}

}  // namespace tilvanego::json
