#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <tilvanego/json/JSON.h>
#include <tilvanego/values/Lifetime.h>

namespace tilvanego {

class JSONLookup;

/// Any JSON value. Values are equal only if they are of the same case with equal payloads: the integer 1
/// isn't the double 1.0. Reading makes a whole number that fits 64 bits an `int`, every other number a
/// `double`, and keeps the first of equal keys.
///
/// However deeply values nest, reading, writing, copying, comparing and ending them takes no more stack than
/// a flat one does.
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
  JSONValue(Array value);
  JSONValue(Dictionary value);

  JSONValue(const JSONValue& other) : JSONValue() { copy(other); }
  /// Leaves a value of the same case; text, array or dictionary are empty then.
  JSONValue(JSONValue&& other) noexcept = default;
  JSONValue& operator=(const JSONValue& other) {
    if (this != &other) *this = JSONValue(other);
    return *this;
  }
  JSONValue& operator=(JSONValue&& other) noexcept {
    // What was here ends with `former`, level by level; it may hold the other.
    JSONValue former(std::move(*this));
    value_ = std::move(other.value_);
    return *this;
  }
  ~JSONValue() {
    if (holds<ArrayBox>() || holds<DictionaryBox>()) dismantle();
  }

  /// A dictionary of these pairs; the last of equal keys counts.
  [[nodiscard]] static JSONValue dictionary(
      std::initializer_list<std::pair<std::string_view, JSONValue>> pairs);
  static JSONValue array(std::initializer_list<JSONValue> elements) { return Array(elements); }

  /// What a value becomes when it is written as JSON and read again: a record becomes a dictionary. Dates
  /// take their default form.
  template <typename T>
  [[nodiscard]] static std::expected<JSONValue, JSONError> encoding(const T& value) {
    const auto text = json::encode(value);
    if (!text) return std::unexpected(text.error());
    return json::decode<JSONValue>(*text);
  }

  [[nodiscard]] bool isString() const { return holds<std::string>(); }
  bool isInt() const { return holds<std::int64_t>(); }
  [[nodiscard]] bool isDouble() const { return holds<double>(); }
  bool isBool() const { return holds<bool>(); }
  [[nodiscard]] bool isArray() const { return holds<ArrayBox>(); }
  bool isDictionary() const { return holds<DictionaryBox>(); }
  [[nodiscard]] bool isNull() const { return holds<std::monostate>(); }

  /// The payload if the value is of exactly this case; there is no conversion.
  [[nodiscard]] std::optional<std::int64_t> intValue() const { return copied<std::int64_t>(); }
  std::optional<double> doubleValue() const { return copied<double>(); }
  [[nodiscard]] std::optional<bool> boolValue() const { return copied<bool>(); }
  /// Null if the value is of another case; otherwise valid as long as this value stays unchanged.
  [[nodiscard]] const std::string* stringValue() const TILVANEGO_LIFETIMEBOUND {
    return std::get_if<std::string>(&value_);
  }
  const Array* arrayValue() const TILVANEGO_LIFETIMEBOUND;
  [[nodiscard]] const Dictionary* dictionaryValue() const TILVANEGO_LIFETIMEBOUND;

  /// The entry of a dictionary; absent if there is none, or the value is of another case.
  [[nodiscard]] JSONLookup operator[](std::string_view key) const TILVANEGO_LIFETIMEBOUND;
  JSONLookup operator[](const char* key) const TILVANEGO_LIFETIMEBOUND;
  JSONLookup operator[](std::nullptr_t) const = delete;
  /// The element of an array; absent if the index is negative or past the end, or the value is of another
  /// case.
  template <std::integral Index>
  [[nodiscard]] JSONLookup operator[](Index index) const TILVANEGO_LIFETIMEBOUND;

  // Not defaulted: deciding on that here, where the type isn't complete, makes libc++ 19 move the elements of
  // an `Array` as plain bytes.
  friend bool operator==(const JSONValue& a, const JSONValue& b);
  /// Equal values have equal hashes.
  [[nodiscard]] std::size_t hash() const;

 private:
  // Arrays and dictionaries lie in boxes, which keeps every value as small as a text; an empty one has no
  // box. `next` chains those that are about to end.
  struct BoxedArray {
    Array elements;
    BoxedArray* next = nullptr;
  };
  struct BoxedDictionary {
    Dictionary entries;
    BoxedDictionary* next = nullptr;
  };
  using ArrayBox = std::unique_ptr<BoxedArray>;
  using DictionaryBox = std::unique_ptr<BoxedDictionary>;
  class Reading;
  class Doomed;

  void copy(const JSONValue& other);
  void copyOneLevel(const JSONValue& other);
  void dismantle() noexcept;
  const JSONValue* find(std::string_view key) const;
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
  std::variant<std::monostate, std::string, std::int64_t, double, bool, ArrayBox, DictionaryBox> value_;
};

/// What a subscript of a `JSONValue` found: a value inside it, or nothing. Subscripts go on from there, and
/// inside nothing find nothing:
///
/// ```cpp
/// std::int64_t firstPrice(const JSONValue& order) {
///   return order["lines"][0]["price"].intValue().value_or(0);
/// }
/// ```
///
/// Valid as long as the value that was looked into stays unchanged.
class JSONLookup {
 public:
  /// Nothing.
  JSONLookup() = default;
  explicit JSONLookup(const JSONValue* found) : found_(found) {}

  [[nodiscard]] explicit operator bool() const { return found_ != nullptr; }
  friend bool operator==(JSONLookup lookup, std::nullptr_t) { return lookup.found_ == nullptr; }
  /// The value that was found, null if none was.
  [[nodiscard]] const JSONValue* get() const { return found_; }
  /// Only where something was found: the program ends otherwise.
  [[nodiscard]] const JSONValue& operator*() const {
    if (found_ == nullptr) endForAbsence();
    return *found_;
  }
  [[nodiscard]] const JSONValue* operator->() const { return &**this; }

  [[nodiscard]] JSONLookup operator[](std::string_view key) const {
    return found_ ? (*found_)[key] : JSONLookup();
  }
  JSONLookup operator[](const char* key) const { return (*this)[std::string_view(key)]; }
  JSONLookup operator[](std::nullptr_t) const = delete;
  template <std::integral Index>
  [[nodiscard]] JSONLookup operator[](Index index) const {
    return found_ ? (*found_)[index] : JSONLookup();
  }

  // As those of the value; none of them holds for nothing.
  [[nodiscard]] bool isString() const { return found_ && found_->isString(); }
  bool isInt() const { return found_ && found_->isInt(); }
  [[nodiscard]] bool isDouble() const { return found_ && found_->isDouble(); }
  bool isBool() const { return found_ && found_->isBool(); }
  [[nodiscard]] bool isArray() const { return found_ && found_->isArray(); }
  bool isDictionary() const { return found_ && found_->isDictionary(); }
  [[nodiscard]] bool isNull() const { return found_ && found_->isNull(); }
  std::optional<std::int64_t> intValue() const { return found_ ? found_->intValue() : std::nullopt; }
  [[nodiscard]] std::optional<double> doubleValue() const {
    return found_ ? found_->doubleValue() : std::nullopt;
  }
  std::optional<bool> boolValue() const { return found_ ? found_->boolValue() : std::nullopt; }
  [[nodiscard]] const std::string* stringValue() const { return found_ ? found_->stringValue() : nullptr; }
  const JSONValue::Array* arrayValue() const { return found_ ? found_->arrayValue() : nullptr; }
  [[nodiscard]] const JSONValue::Dictionary* dictionaryValue() const {
    return found_ ? found_->dictionaryValue() : nullptr;
  }

 private:
  [[noreturn]] static void endForAbsence();

  const JSONValue* found_ = nullptr;
};

inline JSONLookup JSONValue::operator[](std::string_view key) const { return JSONLookup(find(key)); }
inline JSONLookup JSONValue::operator[](const char* key) const { return JSONLookup(find(key)); }
template <std::integral Index>
JSONLookup JSONValue::operator[](Index index) const {
  return std::in_range<std::ptrdiff_t>(index) ? JSONLookup(element(static_cast<std::ptrdiff_t>(index)))
                                              : JSONLookup();
}

template <>
struct json::Codec<JSONValue> {
  [[nodiscard]] static bool read(Reader& reader, JSONValue& value);
  static bool write(Writer& writer, const JSONValue& value);
};

}  // namespace tilvanego

template <>
struct std::hash<tilvanego::JSONValue> {
  [[nodiscard]] std::size_t operator()(const tilvanego::JSONValue& value) const { return value.hash(); }
};
