#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/json/JSONDates.h>
#include <tilvanego/json/JSONError.h>

namespace tilvanego {

/// How a JSON text is laid out. Slashes in texts are always escaped, beyond ASCII nothing is.
struct JSONFormat {
  /// Keys in ascending order of their UTF-8 bytes, at every level; otherwise in the order of a record's
  /// table.
  bool sortedKeys = false;
  /// Two blanks for each level, ` : ` between key and value, and an empty line inside empty brackets.
  bool pretty = false;
  /// Not owned; none means `JSONDates::internetDateTime()`.
  const JSONDates* dates = nullptr;
};

}  // namespace tilvanego

namespace tilvanego::json {

struct RecordField;
struct RecordTable;

/// Writes one JSON text (RFC 8259, UTF-8) value by value; commas and layout are its own business. A call that
/// fails returns false and leaves the reason in `error()`; the writer is of no use afterwards. Apart from the
/// finished text, nothing that was written stays behind in freed memory.
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
  /// The shortest text that reads back as the same double, or the same float. Fails for infinities and NaN.
  [[nodiscard]] bool number(double value);
  bool number(float value);
  /// Fails unless `value` is UTF-8.
  [[nodiscard]] bool text(std::string_view value);

  [[nodiscard]] bool beginArray();
  /// Before each element.
  void element();
  void endArray();
  [[nodiscard]] bool beginObject();
  /// Before each value.
  [[nodiscard]] bool key(std::string_view key);
  void endObject();

  /// The finished text.
  [[nodiscard]] std::string take();

  [[nodiscard]] const JSONFormat& format() const { return format_; }

  /// For codecs: the value can't be written. Always false.
  bool fail(JSONFailure failure, std::string detail = {});
  /// For codecs: the failure happened inside the value under this key or index. Always false.
  bool failInside(JSONPathStep step);
  [[nodiscard]] JSONError& error() { return error_; }

  /// Writes the record at `record`, whose type `table` describes, as an object.
  [[nodiscard]] bool writeRecord(const RecordTable& table, const void* record);
  /// For the field writers of a record: the key of the value that follows, or key and text in one.
  void fieldKey(const RecordField& field);
  [[nodiscard]] bool fieldText(const RecordField& field, std::string_view value);

 private:
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
  std::string out_;
  char* cursor_ = out_.data();
  char* limit_ = cursor_;
  std::size_t depth_ = 0;
  bool atStart_ = false;
  JSONError error_;
};

}  // namespace tilvanego::json
