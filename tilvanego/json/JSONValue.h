#pragma once

#include <tilvanego/json/JSON.h>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tilvanego {

/// Any JSON value. Values are equal only if they are of the same case with equal payloads: the integer 1
/// isn't the double 1.0. Reading makes a whole number that fits 64 bits an `int`, every other number a
/// `double`, and keeps the first of equal keys.
class JSONValue {
 public:
  using Array = std::vector<JSONValue>;
  /// In ascending order of the keys' bytes.
  using Dictionary = std::map<std::string, JSONValue, std::less<>>;

  /// Null.
  JSONValue() = default;
  JSONValue(std::nullptr_t) {}
  JSONValue(std::string value) : value_(std::move(value)) {}
  JSONValue(std::string_view value) : value_(std::string(value)) {}
  JSONValue(const char* value) : value_(std::string(value)) {}
  /// An `int`, or the nearest `double` of what 64 signed bits can't hold.
  template <std::integral Integer>
    requires(!std::same_as<Integer, bool>)
  JSONValue(Integer value) {
    if (std::in_range<std::int64_t>(value)) {
      value_ = static_cast<std::int64_t>(value);
    } else {
      value_ = static_cast<double>(value);
    }
  }
  JSONValue(double value) : value_(value) {}
  template <std::same_as<bool> Bool>
  JSONValue(Bool value) : value_(value) {}
  JSONValue(Array value) : value_(std::move(value)) {}
  JSONValue(Dictionary value) : value_(std::move(value)) {}

  /// A dictionary of these pairs; the last of equal keys counts.
  static JSONValue dictionary(std::initializer_list<std::pair<std::string_view, JSONValue>> pairs);
  static JSONValue array(std::initializer_list<JSONValue> elements) { return Array(elements); }

  /// What a value becomes when it is written as JSON and read again: a record becomes a dictionary. Dates
  /// take their default form.
  template <typename T>
  static std::expected<JSONValue, JSONError> encoding(const T& value) {
    const auto text = json::encode(value);
    if (!text) return std::unexpected(text.error());
    return json::decode<JSONValue>(*text);
  }

  bool isString() const { return holds<std::string>(); }
  bool isInt() const { return holds<std::int64_t>(); }
  bool isDouble() const { return holds<double>(); }
  bool isBool() const { return holds<bool>(); }
  bool isArray() const { return holds<Array>(); }
  bool isDictionary() const { return holds<Dictionary>(); }
  bool isNull() const { return holds<std::monostate>(); }

  /// The payload if the value is of exactly this case; there is no conversion.
  std::optional<std::int64_t> intValue() const { return copied<std::int64_t>(); }
  std::optional<double> doubleValue() const { return copied<double>(); }
  std::optional<bool> boolValue() const { return copied<bool>(); }
  /// Null if the value is of another case; otherwise valid as long as this value stays unchanged.
  const std::string* stringValue() const { return std::get_if<std::string>(&value_); }
  const Array* arrayValue() const { return std::get_if<Array>(&value_); }
  const Dictionary* dictionaryValue() const { return std::get_if<Dictionary>(&value_); }

  /// The entry of a dictionary; null if there is none, or the value is of another case.
  const JSONValue* operator[](std::string_view key) const;
  const JSONValue* operator[](const char* key) const { return (*this)[std::string_view(key)]; }
  /// The element of an array; null if the index is negative or past the end, or the value is of another case.
  template <std::integral Index>
  const JSONValue* operator[](Index index) const {
    return std::in_range<std::ptrdiff_t>(index) ? element(static_cast<std::ptrdiff_t>(index)) : nullptr;
  }

  // Not defaulted: deciding on that here, where the type isn't complete, makes libc++ 19 move the elements of
  // an `Array` as plain bytes.
  friend bool operator==(const JSONValue& a, const JSONValue& b);
  /// Equal values have equal hashes.
  std::size_t hash() const;

 private:
  const JSONValue* element(std::ptrdiff_t index) const;
  template <typename T>
  bool holds() const {
    return std::holds_alternative<T>(value_);
  }
  template <typename T>
  std::optional<T> copied() const {
    const T* payload = std::get_if<T>(&value_);
    return payload ? std::optional<T>(*payload) : std::nullopt;
  }

  friend struct json::Codec<JSONValue>;
  std::variant<std::monostate, std::string, std::int64_t, double, bool, Array, Dictionary> value_;
};

template <>
struct json::Codec<JSONValue> {
  static bool read(Reader& reader, JSONValue& value);
  static bool write(Writer& writer, const JSONValue& value);
};

}  // namespace tilvanego

template <>
struct std::hash<tilvanego::JSONValue> {
  std::size_t operator()(const tilvanego::JSONValue& value) const { return value.hash(); }
};
