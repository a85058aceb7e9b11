#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/json/Codec.h>
#include <tilvanego/json/JSONError.h>
#include <tilvanego/json/JSONLimits.h>
#include <tilvanego/json/Record.h>
#include <tilvanego/json/ValueCodecs.h>

namespace tilvanego::json {

/// Reads a JSON text as a T: a record, a list, a map, a plain value, a `JSONValue`. The whole text must be
/// one JSON value (RFC 8259) in UTF-8; a byte order mark before it is passed over. A text beyond the limits
/// is refused. A failure gives no value at all, not a half read one. Any thread may call this.
template <typename T>
[[nodiscard]] std::expected<T, JSONError> decode(std::string_view text, const JSONDates* dates = nullptr,
                                                 const JSONLimits& limits = {}) {
  Reader reader(text, dates, limits);
  std::expected<T, JSONError> value(RecordAccess::make<T>());
  if (!Codec<T>::read(reader, *value) || !reader.finish()) value = std::unexpected(std::move(reader.error()));
  return value;
}

/// Writes a value as JSON text in UTF-8. Fails on infinities and NaN, on texts that aren't UTF-8, on dates
/// without a text, on values of an enumeration that are none of its cases, and on values nested deeper than
/// `jsonDepthLimit`.
template <typename T>
[[nodiscard]] std::expected<std::string, JSONError> encode(const T& value, const JSONFormat& format = {}) {
  Writer writer(format);
  if (!Codec<T>::write(writer, value)) return std::unexpected(std::move(writer.error()));
  return writer.take();
}

}  // namespace tilvanego::json
