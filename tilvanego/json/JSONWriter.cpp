#include <tilvanego/json/JSONWriter.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

#include <tilvanego/json/RecordTable.h>
#include <tilvanego/json/TextScan.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/DoubleText.h>
#include <tilvanego/values/UTF8.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::json {
namespace {

using detail::TextEnds;
using tilvanego::detail::DecodedScalar;
using tilvanego::detail::decodeScalar;
using tilvanego::detail::isASCII;

// Bytes that `ensure` reserves in addition: for a comma, a colon, quotes and the longest escape.
constexpr std::size_t slack = 32;
constexpr std::size_t longestInteger = 20;

}  // namespace

// The first buffer isn't initialized: only what was written is read.
Writer::Writer(const JSONFormat& format) : format_(format) {}  // NOLINT(*-member-init)

Writer::~Writer() { wipe(); }

// The whole buffer: a text that fails halfway may have been copied beyond the cursor.
void Writer::wipe() { support::wipe(start_, static_cast<std::size_t>(limit_ - start_)); }

inline void Writer::ensure(std::size_t count) {
  if (static_cast<std::size_t>(limit_ - cursor_) < count + slack) grow(count + slack);
}

void Writer::grow(std::size_t count) {
  const auto used = written().size();
  const auto room = static_cast<std::size_t>(limit_ - start_);
  std::string larger;
  larger.resize_and_overwrite(std::max(room * 2, used + count), [&](char* data, std::size_t size) {
    std::memcpy(data, start_, used);
    return size;
  });
  wipe();
  larger_ = std::move(larger);
  start_ = larger_.data();
  cursor_ = start_ + used;
  limit_ = start_ + larger_.size();
}

std::string Writer::take() {
  if (start_ == first_.data()) return std::string(written());
  larger_.resize(written().size());
  start_ = cursor_ = limit_ = nullptr;
  return std::move(larger_);
}

bool Writer::fail(JSONFailure failure, std::string detail) {
  error_.failure = failure;
  error_.detail = std::move(detail);
  error_.onWriting = true;
  return false;
}

bool Writer::failInside(JSONPathStep step) {
  error_.stepsOutward.push_back(std::move(step));
  return false;
}

// Scalars

inline void Writer::put(std::string_view text) {
  std::memcpy(cursor_, text.data(), text.size());
  cursor_ += text.size();
}

bool Writer::null() {
  ensure(0);
  put("null");
  return true;
}

bool Writer::boolean(bool value) {
  ensure(0);
  put(value ? std::string_view("true") : std::string_view("false"));
  return true;
}

bool Writer::integer(std::int64_t value) {
  ensure(longestInteger);
  cursor_ = std::to_chars(cursor_, limit_, value).ptr;
  return true;
}

bool Writer::integer(std::uint64_t value) {
  ensure(longestInteger);
  cursor_ = std::to_chars(cursor_, limit_, value).ptr;
  return true;
}

bool Writer::number(double value) { return putNumber(doubleJSONText(value)); }
bool Writer::number(float value) { return putNumber(floatJSONText(value)); }

bool Writer::putNumber(const std::optional<std::string>& text) {
  if (!text) return fail(JSONFailure::notFinite);
  ensure(text->size());
  put(*text);
  return true;
}

// Texts

// The caller has reserved space for the text and its quotes, without escapes.
inline bool Writer::putText(std::string_view text) {
  put('"');
  if (detail::copyPlainText(text.data(), text.size(), cursor_)) {
    cursor_ += text.size();
  } else if (!putEscapedText(text)) {
    return false;
  }
  put('"');
  return true;
}

bool Writer::text(std::string_view value) {
  ensure(value.size());
  return putText(value);
}

// Each escape reserves space for the bytes after it.
bool Writer::putEscapedText(std::string_view text) {
  const char* cursor = text.data();
  const char* const end = cursor + text.size();
  for (;;) {
    const char* const run = cursor;
    cursor = detail::endOfPlainText<TextEnds::writing>(cursor, end);
    if (cursor != run) put({run, static_cast<std::size_t>(cursor - run)});
    if (cursor == end) return true;
    if (isASCII(*cursor)) {
      putEscaped(*cursor++);
      ensure(static_cast<std::size_t>(end - cursor));
      continue;
    }
    const DecodedScalar scalar = decodeScalar({cursor, static_cast<std::size_t>(end - cursor)}, 0);
    if (!scalar.wellFormed) return fail(JSONFailure::invalidUTF8);
    put({cursor, scalar.length});
    cursor += scalar.length;
  }
}

void Writer::putEscaped(char c) {
  constexpr std::string_view letters = "\"\\/\b\f\n\r\t";
  constexpr std::string_view escapes = "\"\\/bfnrt";
  put('\\');
  if (const std::size_t at = letters.find(c); at != letters.npos) return put(escapes[at]);
  constexpr std::string_view digits = "0123456789abcdef";
  put("u00");
  put(digits[static_cast<unsigned char>(c) >> 4]);
  put(digits[static_cast<unsigned char>(c) & 0xF]);
}

// Arrays and objects

inline void Writer::putIndent() {
  std::memset(cursor_, ' ', 2 * depth_);
  cursor_ += 2 * depth_;
}

inline void Writer::putColon() {
  if (format_.pretty) return put(" : ");
  put(':');
}

bool Writer::begin(char opening) {
  if (depth_ == jsonDepthLimit) return fail(JSONFailure::tooDeep);
  ensure(0);
  put(opening);
  if (format_.pretty) put('\n');
  ++depth_;
  atStart_ = true;
  return true;
}

void Writer::end(char closing) {
  --depth_;
  atStart_ = false;
  ensure(2 * depth_);
  if (format_.pretty) {
    put('\n');
    putIndent();
  }
  put(closing);
}

// Writes the comma or line break before a key or an element, and reserves `room` bytes.
inline void Writer::separate(std::size_t room) {
  ensure(room + 2 * depth_);
  if (!std::exchange(atStart_, false)) {
    put(',');
    if (format_.pretty) put('\n');
  }
  if (format_.pretty) putIndent();
}

bool Writer::beginArray() { return begin('['); }
void Writer::endArray() { end(']'); }
bool Writer::beginObject() { return begin('{'); }
void Writer::endObject() { end('}'); }

void Writer::element() { separate(0); }

bool Writer::key(std::string_view key) {
  element();
  if (!text(key)) return false;
  ensure(0);
  putColon();
  return true;
}

// Records

// Reserves space for the key, which is copied in one block if it is short, and for `room` bytes after it.
inline void Writer::putFieldKey(const RecordField& field, std::size_t room) {
  const std::size_t size = field.quoted.size();
  separate(size + room);
  std::memcpy(cursor_, field.lead.data(), field.lead.size());
  if (size > field.lead.size()) std::memcpy(cursor_, field.quoted.data(), size);
  cursor_ += size;
  putColon();
}

void Writer::fieldKey(const RecordField& field) { putFieldKey(field, 0); }

bool Writer::fieldText(const RecordField& field, std::string_view value) {
  putFieldKey(field, value.size());
  return putText(value);
}

bool Writer::writeRecord(const RecordTable& table, const void* record) {
  if (!beginObject()) return false;
  for (std::size_t i = 0; i < table.fields.size(); ++i) {
    const RecordField& field = table.fields[format_.sortedKeys ? table.sorted[i] : i];
    if (!field.write(*this, field, record)) return failInside(std::string(field.key()));
  }
  endObject();
  return true;
}

}  // namespace tilvanego::json
