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

namespace tilvanego::json {

struct RecordField;
struct RecordTable;

/// Reads one JSON text (RFC 8259, UTF-8, with or without a byte order mark) value by value: the caller says
/// what it expects next. Every read skips the white space before its value. A read that fails returns false
/// and leaves the reason in `error()`; the reader is of no use afterwards. Views that it gives die with the
/// text or at the next read. Nothing that was read stays behind in memory of the reader's own.
class Reader {
 public:
  /// Neither the text nor the dates' form is copied; both must outlive the reader. No form means
  /// `JSONDates::internetDateTime()`. Beyond one of the limits every read fails.
  explicit Reader(std::string_view text, const JSONDates* dates = nullptr, const JSONLimits& limits = {});
  /// Reads a piece that `skip` of another reader gave, with its dates and within what its limits leave. The
  /// other must outlive it.
  Reader(std::string_view piece, Reader& whole);
  ~Reader();
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  /// The kind of the next value by its first character. Fails where none can start.
  [[nodiscard]] bool peek(JSONKind& kind);
  /// True if the next value is null, which is then taken.
  [[nodiscard]] bool takeNull();

  [[nodiscard]] bool readBoolean(bool& value);
  /// A whole number of 64 bits, exactly; `1.0` and `1e2` are whole.
  [[nodiscard]] bool readInteger(std::int64_t& value);
  bool readInteger(std::uint64_t& value);
  /// The nearest one. Numbers beyond the range are refused, and those that would silently become 0.
  [[nodiscard]] bool readDouble(double& value);
  bool readFloat(float& value);
  /// A number's parts and its text as written.
  [[nodiscard]] bool readNumber(detail::JSONNumber& number);
  bool readText(std::string& value);
  /// Null gives no value.
  [[nodiscard]] bool readText(std::optional<std::string>& value);
  /// The text with its escapes resolved; a view into the input where there were none.
  [[nodiscard]] bool readText(std::string_view& value);
  /// Passes over one value of any kind, which is checked in full.
  [[nodiscard]] bool skip();
  /// The same, and gives its text as it stands, without the blanks around it: a piece of the input, for a
  /// reader of its own.
  [[nodiscard]] bool skip(std::string_view& text);

  /// What `nextElement` and `nextKey` came upon.
  enum class Next { item, end, failure };

  /// After `beginArray`, `nextElement` gives `item` before each element and then, once, `end`.
  [[nodiscard]] bool beginArray();
  Next nextElement();
  /// After `beginObject`, `nextKey` gives `item` and the key before each value and then, once, `end`.
  [[nodiscard]] bool beginObject();
  Next nextKey(std::string_view& key);

  /// Nothing but white space may be left.
  [[nodiscard]] bool finish();

  [[nodiscard]] const JSONDates* dates() const { return dates_; }

  /// For codecs that make more than the text's own bytes: asks for `bytes` of memory before they are
  /// allocated. Fails beyond `JSONLimits::memory`.
  [[nodiscard]] bool takeMemory(std::size_t bytes) {
    if (bytes > *memoryLeft_) return failBeyondMemory();
    *memoryLeft_ -= bytes;
    return true;
  }
  /// Memory that was taken before, and is free again.
  void giveBackMemory(std::size_t bytes) { *memoryLeft_ += bytes; }

  /// From now on records are read in the order of their fields, however these stand in the text, so that the
  /// failure is that of the first field. It takes a second pass over every object.
  void readInFieldOrder() { inFieldOrder_ = true; }

  /// For codecs: fails for the value that was read last. Always false.
  bool fail(JSONFailure failure, std::string detail = {});
  /// For codecs: the failure happened inside the value under this key or index. Always false.
  bool failInside(JSONPathStep step);
  /// For codecs: takes over the failure of a reader of `piece`, which `skip` gave. Always false.
  bool failIn(std::string_view piece, JSONError error);
  [[nodiscard]] JSONError& error() { return error_; }

  /// Reads an object into the record at `record`, whose type `table` describes. The first of equal keys
  /// counts. Optional fields that are missing or null become absent, whatever they were.
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

}  // namespace tilvanego::json
