#pragma once

#include <expected>
#include <memory>
#include <string>
#include <string_view>

#include <tilvanego/json/JSON.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Decodes JSON bodies. A plain value; several threads may use one object at once.
struct JSONDecoder {
  /// The format of dates. Null means `JSONDates::internetDateTime()`: date and time with whole seconds.
  std::shared_ptr<const JSONDates> dateDecodingStrategy{};
  /// Bodies that exceed these limits are refused.
  JSONLimits limits{};

  /// Decodes a JSON text (RFC 8259 in UTF-8), which must be one value.
  template <typename T>
  [[nodiscard]] std::expected<T, JSONError> decode(std::string_view json) const {
    return json::decode<T>(json, dateDecodingStrategy.get(), limits);
  }
};

/// Encodes JSON bodies. A plain value; several threads may use one object at once.
struct JSONEncoder {
  /// With line breaks and indentation.
  bool prettyPrinted = false;
  /// Keys in ascending order of their bytes; else in the order of the record's fields.
  bool sortedKeys = false;
  /// The format of dates. Null means `JSONDates::internetDateTime()`: date and time with whole seconds.
  std::shared_ptr<const JSONDates> dateEncodingStrategy{};

  /// Fails for values that JSON can't represent: numbers that aren't finite, texts that aren't UTF-8.
  template <typename T>
  [[nodiscard]] std::expected<std::string, JSONError> encode(const T& value) const {
    return json::encode(value, format());
  }

  /// Returns these settings as a `JSONFormat`; valid as long as this object.
  [[nodiscard]] JSONFormat format() const TILVANEGO_LIFETIMEBOUND {
    return {.sortedKeys = sortedKeys, .pretty = prettyPrinted, .dates = dateEncodingStrategy.get()};
  }
};

}  // namespace tilvanego
