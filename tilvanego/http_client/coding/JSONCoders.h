#pragma once

#include <expected>
#include <memory>
#include <string>
#include <string_view>

#include <tilvanego/json/JSON.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// How JSON bodies are read. A plain value; one object may serve several threads at once.
struct JSONDecoder {
  /// None means internet date-time with whole seconds (`JSONDates::internetDateTime()`).
  std::shared_ptr<const JSONDates> dateDecodingStrategy{};
  /// Bodies beyond these are refused.
  JSONLimits limits{};

  /// Reads one JSON value (RFC 8259) in UTF-8, from end to end.
  template <typename T>
  [[nodiscard]] std::expected<T, JSONError> decode(std::string_view json) const {
    return json::decode<T>(json, dateDecodingStrategy.get(), limits);
  }
};

/// How JSON bodies are written: by default compactly, a record's keys in the order of its table. A plain
/// value; one object may serve several threads at once.
struct JSONEncoder {
  bool prettyPrinted = false;
  /// In ascending order of the keys' bytes.
  bool sortedKeys = false;
  /// None means internet date-time with whole seconds (`JSONDates::internetDateTime()`).
  std::shared_ptr<const JSONDates> dateEncodingStrategy{};

  /// Fails for what JSON can't say: numbers that aren't finite, texts that aren't UTF-8.
  template <typename T>
  [[nodiscard]] std::expected<std::string, JSONError> encode(const T& value) const {
    return json::encode(value, format());
  }

  /// The same for the layer below; valid as long as this object.
  [[nodiscard]] JSONFormat format() const {
    return {.sortedKeys = sortedKeys, .pretty = prettyPrinted, .dates = dateEncodingStrategy.get()};
  }
};

}  // namespace tilvanego
