#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/json/JSONDates.h>
#include <tilvanego/json/JSONError.h>
#include <tilvanego/json/JSONLimits.h>
#include <tilvanego/json/JSONNumber.h>
#include <tilvanego/values/CaseNames.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] json {

struct RecordField;
struct RecordTable;

// Enumerations write the names of their cases.
using tilvanego::operator<<;

/// Reads one JSON text (RFC 8259, UTF-8, with or without a byte order mark) value by value: the caller calls
/// the function of the kind that it expects next. Each function skips the white space before the value. A
/// failed read returns false and stores the reason in `error()`; the reader must not be used any more then.
/// Returned views are valid until the next read, and as long as the text. The reader wipes its own buffer
/// when it is destroyed.
class Reader {
 public:
  /// Neither the text nor `dates` is copied; both must outlive the reader. Null `dates` mean
  /// `JSONDates::internetDateTime()`. Beyond one of the limits every read fails.
  explicit Reader(std::string_view text, const JSONDates* dates = nullptr, const JSONLimits& limits = {});
  /// Reads a piece that `skip` of the reader `whole` returned, with its dates and the rest of its limits.
  /// `whole` must outlive this reader.
  Reader(std::string_view piece, Reader& whole);
  ~Reader();
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  /// Stores the kind of the next value, known by its first character. Fails if no value can start there.
  [[nodiscard]] bool peek(JSONKind& kind);
  /// If the next value is null, reads it and returns true.
  [[nodiscard]] bool takeNull();

  [[nodiscard]] bool readBoolean(bool& value);
  /// Reads a whole number of 64 bits, exactly. `1.0` and `1e2` are whole.
  [[nodiscard]] bool readInteger(std::int64_t& value);
  bool readInteger(std::uint64_t& value);
  /// Reads the nearest floating-point number. Refuses numbers beyond the range, and other numbers than 0 that
  /// would become 0.
  [[nodiscard]] bool readDouble(double& value);
  bool readFloat(float& value);
  /// Reads a number's parts and its text as written.
  [[nodiscard]] bool readNumber(detail::JSONNumber& number);
  bool readText(std::string& value);
  /// Null reads as no value.
  [[nodiscard]] bool readText(std::optional<std::string>& value);
  /// Reads a string with its escapes decoded. Without escapes, the view points into the input.
  [[nodiscard]] bool readText(std::string_view& value);
  /// Skips one value of any kind, and checks it completely.
  [[nodiscard]] bool skip();
  /// Like `skip()`, and stores the value's text, a part of the input without the white space around it.
  /// Another reader may read it.
  [[nodiscard]] bool skip(std::string_view& text);

  /// What `nextElement` and `nextKey` found.
  enum class Next { item, end, failure };

  /// After `beginArray`, `nextElement` returns `item` before each element and then, once, `end`.
  [[nodiscard]] bool beginArray();
  Next nextElement();
  /// After `beginObject`, `nextKey` returns `item` and stores the key before each value, and then, once,
  /// returns `end`.
  [[nodiscard]] bool beginObject();
  Next nextKey(std::string_view& key);

  /// Fails if anything but white space follows.
  [[nodiscard]] bool finish();

  [[nodiscard]] const JSONDates* dates() const { return dates_; }

  /// For codecs that need more memory than the text's own bytes: counts `bytes` before they are allocated.
  /// Fails beyond `JSONLimits::memory`.
  [[nodiscard]] bool takeMemory(std::size_t bytes) {
    if (bytes > *memoryLeft_) return failBeyondMemory();
    *memoryLeft_ -= bytes;
    return true;
  }
  /// Counts `bytes` as free again.
  void giveBackMemory(std::size_t bytes) { *memoryLeft_ += bytes; }

  /// From now on the fields of a record are read in the record's order instead of the text's order, so that
  /// the failure is that of the record's first wrong field. Each object is then passed twice.
  void readInFieldOrder() { inFieldOrder_ = true; }

  /// For codecs: fails for the value that was read last. Always returns false.
  bool fail(JSONFailure failure, std::string detail = {});
  /// For codecs: adds a step to the path of the failure, the key or index of the value in which it happened.
  /// Always returns false.
  bool failInside(JSONPathStep step);
  /// For codecs: fails with the error of another reader, which has read `piece`, a result of `skip`. Always
  /// returns false.
  bool failIn(std::string_view piece, JSONError error);
  [[nodiscard]] JSONError& error() { return error_; }

  /// Reads an object into the record at `record`, whose type `table` describes. The first of equal keys
  /// counts. Optional fields that are missing or null lose their value.
  [[nodiscard]] bool readRecord(const RecordTable& table, void* record);

 private:
  bool failAt(const char* where, JSONFailure failure);
  bool failBeyondMemory();
  Next failBeyondElements();
  bool failKind(JSONKind expected);
  static constexpr bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
  void skipBlanks() {
    while (cursor_ != end_ && *cursor_ <= ' ' && isBlank(*cursor_)) ++cursor_;
  }
  bool startValue(JSONKind expected, char first);
  bool readTextFrom(const char* start, std::string_view& value);
  bool takeRun(const char*& cursor);
  bool readRestOfText(const char* start, const char* cursor, std::string_view& value);
  bool readEscapes(const char* start, const char* cursor, std::string_view& value);
  bool readEscape(const char*& cursor);
  void takeIntoScratch(const char* from, const char* to);
  bool takeWord(std::string_view word);
  bool takeUnit(const char*& cursor, char32_t& unit);
  bool takeColon();
  Next nextItem(char closing);
  bool skipScalar();
  bool open(char first);
  bool matchField(const RecordTable& table, std::size_t previous, std::size_t& field);
  bool takeKey(const RecordField& field);
  bool readFieldsInOrder(const RecordTable& table, void* record);
  bool failForMissing(const RecordTable& table, std::size_t field);
  static void clearAbsent(const RecordTable& table, std::uint64_t seen, void* record);

  const char* begin_;
  const char* cursor_;
  const char* end_;
  const char* value_;
  const JSONDates* dates_;
  JSONLimits limits_;
  std::size_t ownMemoryLeft_;
  std::size_t* memoryLeft_ = &ownMemoryLeft_;
  std::size_t elementsLeft_;
  std::size_t depth_ = 0;
  bool isTooLong_ = false;
  bool atStart_ = false;
  bool inFieldOrder_ = false;
  std::string scratch_;
  JSONError error_;
};

}  // namespace json

template <>
inline constexpr bool showsCaseNames<json::Reader::Next> = true;

}  // namespace tilvanego
