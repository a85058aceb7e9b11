#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/json/JSONDates.h>
#include <tilvanego/json/JSONError.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The layout of a JSON text. Slashes in strings are always escaped, characters beyond ASCII never.
struct JSONFormat {
  /// If true, keys are in ascending order of their UTF-8 bytes, at every level. If false, the keys of a
  /// record are in the order of its fields.
  bool sortedKeys = false;
  /// If true, each level is indented by two blanks, ` : ` separates key and value, and empty brackets contain
  /// an empty line.
  bool pretty = false;
  /// The form of dates. Not owned. Null means `JSONDates::internetDateTime()`.
  const JSONDates* dates = nullptr;
};

namespace [[gnu::visibility("default")]] json {

struct RecordField;
struct RecordTable;

/// Writes one JSON text (RFC 8259, UTF-8) value by value, and adds the commas and the layout. A failed call
/// returns false and stores the reason in `error()`; the writer must not be used any more then. The writer
/// wipes each buffer before it frees it.
class Writer {
 public:
  explicit Writer(const JSONFormat& format = {});
  ~Writer();
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  [[nodiscard]] bool null();
  bool boolean(bool value);
  [[nodiscard]] bool integer(std::int64_t value);
  bool integer(std::uint64_t value);
  /// Writes the shortest text that reads back as the same double or float. Fails for infinities and NaN.
  [[nodiscard]] bool number(double value);
  bool number(float value);
  /// Writes a string. Fails if `value` is not UTF-8.
  [[nodiscard]] bool text(std::string_view value);

  [[nodiscard]] bool beginArray();
  /// Must be called before each element.
  void element();
  void endArray();
  [[nodiscard]] bool beginObject();
  /// Must be called before each value.
  [[nodiscard]] bool key(std::string_view key);
  void endObject();

  /// The text so far: the finished one at the end.
  [[nodiscard]] std::string_view written() const TILVANEGO_LIFETIMEBOUND {
    return {start_, static_cast<std::size_t>(cursor_ - start_)};
  }
  /// Returns the finished text. Call it once, at the end.
  [[nodiscard]] std::string take();

  [[nodiscard]] const JSONFormat& format() const { return format_; }

  /// For codecs: the value cannot be written. Always returns false.
  bool fail(JSONFailure failure, std::string detail = {});
  /// For codecs: adds a step to the path of the failure, the key or index of the value in which it happened.
  /// Always returns false.
  bool failInside(JSONPathStep step);
  [[nodiscard]] JSONError& error() { return error_; }

  /// Writes the record at `record`, whose type `table` describes, as an object.
  [[nodiscard]] bool writeRecord(const RecordTable& table, const void* record);
  /// For the field writers of a record: writes the key of the next value, or a key and a string.
  void fieldKey(const RecordField& field);
  [[nodiscard]] bool fieldText(const RecordField& field, std::string_view value);

 private:
  void wipe();
  void ensure(std::size_t count);
  void grow(std::size_t count);
  void put(char c) { *cursor_++ = c; }
  void put(std::string_view text);
  bool putNumber(const std::optional<std::string>& text);
  bool putText(std::string_view text);
  bool putEscapedText(std::string_view text);
  void putEscaped(char c);
  bool begin(char opening);
  void end(char closing);
  void separate(std::size_t room);
  void putIndent();
  void putColon();
  void putFieldKey(const RecordField& field, std::size_t room);

  JSONFormat format_;
  /// Most texts fit in it.
  std::array<char, 1024> first_;
  /// Where a longer text is.
  std::string larger_;
  char* start_ = first_.data();
  char* cursor_ = start_;
  char* limit_ = start_ + first_.size();
  std::size_t depth_ = 0;
  bool atStart_ = false;
  JSONError error_;
};

}  // namespace json
}  // namespace tilvanego
