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

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] json {

/// Reads a JSON text as a T: a record, a vector, a map, a plain value, a `JSONValue`. The whole text must be
/// one JSON value (RFC 8259) in UTF-8; a byte order mark before it is skipped. A text beyond the limits is
/// refused. On a failure there is no value, not even a part of one. `dates` is not owned; null means
/// `JSONDates::internetDateTime()`. Any thread may call this.
template <typename T>
[[nodiscard]] std::expected<T, JSONError> decode(std::string_view text, const JSONDates* dates = nullptr,
                                                 const JSONLimits& limits = {}) {
  Reader reader(text, dates, limits);
  std::expected<T, JSONError> value(RecordAccess::make<T>());
  if (!Codec<T>::read(reader, *value) || !reader.finish()) value = std::unexpected(std::move(reader.error()));
  return value;
}

/// Writes a value as JSON text in UTF-8. Fails for infinities and NaN, for texts that are not UTF-8, for
/// dates without a text, for values of an enumeration that are not one of its cases, and for values nested
/// deeper than `jsonDepthLimit`. Any thread may call this.
template <typename T>
[[nodiscard]] std::expected<std::string, JSONError> encode(const T& value, const JSONFormat& format = {}) {
  Writer writer(format);
  if (!Codec<T>::write(writer, value)) return std::unexpected(std::move(writer.error()));
  return writer.take();
}

}  // namespace json
}  // namespace tilvanego
