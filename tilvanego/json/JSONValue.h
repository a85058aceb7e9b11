#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <initializer_list>
#include <iosfwd>
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

namespace [[gnu::visibility("default")]] tilvanego {

class JSONLookup;

/// Any JSON value. Values are equal only if their case and their content are equal: the integer 1 is not
/// equal to the double 1.0. A whole number that fits 64 signed bits is read as an `int`, every other number
/// as a `double`. The first of equal keys counts.
///
/// Reading, writing, copying, comparing and destroying a value need no more stack if it is deeply nested.
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
  /// An `int`, or the nearest `double` for a number that does not fit 64 signed bits.
  template <json::WholeNumber Integer>
  JSONValue(Integer value) {
    if (std::in_range<std::int64_t>(value)) {
      value_ = static_cast<std::int64_t>(value);
    } else {
      value_ = static_cast<double>(value);
    }
  }
  JSONValue(double value) : value_(value) {}
  template <json::CharacterType Character>
  JSONValue(Character) = delete;
  template <std::same_as<bool> Bool>
  JSONValue(Bool value) : value_(value) {}
  JSONValue(Array value);
  JSONValue(Dictionary value);

  JSONValue(const JSONValue& other) : JSONValue() { copy(other); }
  /// The moved-from value keeps its case; its string, array or dictionary is empty.
  JSONValue(JSONValue&& other) noexcept = default;
  JSONValue& operator=(const JSONValue& other) {
    if (this != &other) *this = JSONValue(other);
    return *this;
  }
  JSONValue& operator=(JSONValue&& other) noexcept {
    // The former content is destroyed with `former`, level by level. It may contain `other`.
    JSONValue former(std::move(*this));
    value_ = std::move(other.value_);
    return *this;
  }
  ~JSONValue() {
    if (holds<ArrayBox>() || holds<DictionaryBox>()) dismantle();
  }

  /// Makes a dictionary of these pairs. The last of equal keys counts.
  [[nodiscard]] static JSONValue dictionary(
      std::initializer_list<std::pair<std::string_view, JSONValue>> pairs);
  static JSONValue array(std::initializer_list<JSONValue> elements) { return Array(elements); }

  /// Writes a value as JSON and reads the text as a `JSONValue`: a record becomes a dictionary. Dates have
  /// their default form.
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

  /// Return the content if the value is of exactly this case. Nothing is converted.
  [[nodiscard]] std::optional<std::int64_t> intValue() const { return copied<std::int64_t>(); }
  std::optional<double> doubleValue() const { return copied<double>(); }
  [[nodiscard]] std::optional<bool> boolValue() const { return copied<bool>(); }
  /// Return null if the value is of another case. The pointer is valid as long as this value is unchanged.
  [[nodiscard]] const std::string* stringValue() const TILVANEGO_LIFETIMEBOUND {
    return std::get_if<std::string>(&value_);
  }
  const Array* arrayValue() const TILVANEGO_LIFETIMEBOUND;
  [[nodiscard]] const Dictionary* dictionaryValue() const TILVANEGO_LIFETIMEBOUND;

  /// Finds the entry of a dictionary. Finds nothing if there is none, or if the value is of another case.
  [[nodiscard]] JSONLookup operator[](std::string_view key) const TILVANEGO_LIFETIMEBOUND;
  JSONLookup operator[](const char* key) const TILVANEGO_LIFETIMEBOUND;
  JSONLookup operator[](std::nullptr_t) const = delete;
  /// Finds the element of an array. Finds nothing if the index is negative or past the end, or if the value
  /// is of another case.
  template <json::WholeNumber Index>
  [[nodiscard]] JSONLookup operator[](Index index) const TILVANEGO_LIFETIMEBOUND;

  // Not defaulted here, where the type is incomplete: libc++ 19 would then move the elements of an `Array` as
  // plain bytes.
  friend bool operator==(const JSONValue& a, const JSONValue& b);
  /// Equal values have equal hashes.
  [[nodiscard]] std::size_t hash() const;

  /// Writes the value as JSON for a person, in one line; a whole `double` keeps its ".0". What stands under a
  /// hidden key (`isHiddenField`) is written as `<redacted>`, which is no JSON: `json::encode` writes for
  /// programs.
  friend std::ostream& operator<<(std::ostream& out, const JSONValue& value) { return value.show(out); }

 private:
  /// Arrays and dictionaries are allocated separately, so that a value is as small as a string; empty ones
  /// are not allocated. `next` links those that will be destroyed.
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

  std::ostream& show(std::ostream& out) const;
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

/// The result of a subscript of a `JSONValue`: a value inside it, or nothing. It has subscripts too; a
/// subscript of nothing finds nothing:
///
/// ```cpp
/// std::int64_t firstPrice(const JSONValue& order) {
///   return order["lines"][0]["price"].intValue().value_or(0);
/// }
/// ```
///
/// Valid as long as the value that was searched is unchanged.
class JSONLookup {
 public:
  /// Nothing.
  JSONLookup() = default;
  explicit JSONLookup(const JSONValue* found) : found_(found) {}

  [[nodiscard]] explicit operator bool() const { return found_ != nullptr; }
  friend bool operator==(JSONLookup lookup, std::nullptr_t) { return lookup.found_ == nullptr; }
  /// Returns the value that was found, or null.
  [[nodiscard]] const JSONValue* get() const { return found_; }
  /// The value that was found. If nothing was found, the process ends.
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
  template <json::WholeNumber Index>
  [[nodiscard]] JSONLookup operator[](Index index) const {
    return found_ ? (*found_)[index] : JSONLookup();
  }

  /// Like the functions of `JSONValue`. If nothing was found, they return false, no value or null.
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
template <json::WholeNumber Index>
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
