#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <tilvanego/json/JSONValue.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::program {

/// The values of a field of type `T`: `wanted` ends the sentence "... must be"; `read` returns nothing for
/// any other value; `blank` is a value for a field with a fault.
template <typename T>
struct FieldType;

/// Quotes a text of a script for an error line: in double quotes, a long text shortened.
[[nodiscard]] std::string quotation(std::string_view text);

/// Reads the fields of one JSON object by name, and checks that each is present, known and of the right type.
///
/// A field that is null counts as absent. After a fault, reading continues with blank values, so that a
/// record can be read in one expression; `finish` returns the fault. Errors quote only values of
/// enumerations: others may be secrets.
class FieldReader {
 public:
  /// `object` must outlive this object. `path` precedes the names of fields in errors: "request.".
  explicit FieldReader(const JSONValue::Dictionary& object, std::string path = {})
      : object_(object), path_(std::move(path)) {}

  /// Returns the value of the field; for an optional, nothing if the field is absent.
  template <typename T>
  [[nodiscard]] T get(std::string_view name);

  /// Returns the reader of a nested object; pass the result of its `finish` to `refuseIf`. After a fault, the
  /// object is empty.
  [[nodiscard]] FieldReader nested(std::string_view name) {
    return FieldReader(object(name), path_ + std::string(name) + ".");
  }

  /// Stores a fault, unless there is one already.
  void refuse(std::string fault);
  void refuseIf(std::optional<std::string> fault) {
    if (fault) refuse(*std::move(fault));
  }

  /// Returns the value of the field, or null if it is absent. The name then counts as known.
  [[nodiscard]] const JSONValue* find(std::string_view name);
  [[nodiscard]] std::string pathTo(std::string_view name) const {
    return quotation(path_ + std::string(name));
  }

  /// Returns the fault as one line that says what to mend, or nothing. Every name that was not requested is
  /// unknown.
  [[nodiscard]] std::optional<std::string> finish() const;

 private:
  [[nodiscard]] const JSONValue::Dictionary& object(std::string_view name);
  void refuseMissing(std::string_view name, std::string_view wanted);
  void refuseType(std::string_view name, std::string_view wanted);

  const JSONValue::Dictionary& object_;
  std::string path_;
  std::vector<std::string_view> known_;
  std::optional<std::string> fault_;
};

template <typename T>
struct OptionalPayload {
  using Type = T;
  static constexpr bool isOptional = false;
};
template <typename T>
struct OptionalPayload<std::optional<T>> {
  using Type = T;
  static constexpr bool isOptional = true;
};

template <typename T>
T FieldReader::get(std::string_view name) {
  using Payload = typename OptionalPayload<T>::Type;
  using Type = FieldType<Payload>;
  const JSONValue* value = find(name);
  if (value == nullptr) {
    if constexpr (OptionalPayload<T>::isOptional) {
      return std::nullopt;
    } else {
      refuseMissing(name, Type::wanted());
      return Type::blank();
    }
  }
  if (std::optional<Payload> read = Type::read(*value)) {
    if constexpr (OptionalPayload<T>::isOptional) {
      return read;
    } else {
      return *std::move(read);
    }
  }
  refuseType(name, Type::wanted());
  return Type::blank();
}

template <>
struct FieldType<std::string> {
  static std::string wanted() { return "a text"; }
  static std::optional<std::string> read(const JSONValue& value);
  static std::string blank() { return {}; }
};

template <>
struct FieldType<bool> {
  static std::string wanted() { return "true or false"; }
  static std::optional<bool> read(const JSONValue& value) { return value.boolValue(); }
  static bool blank() { return false; }
};

template <>
struct FieldType<std::int64_t> {
  static std::string wanted() { return "a whole number of 64 bits"; }
  static std::optional<std::int64_t> read(const JSONValue& value) { return value.intValue(); }
  static std::int64_t blank() { return 0; }
};

template <>
struct FieldType<Decimal> {
  static std::string wanted() { return R"(a text with a number of at most 38 digits, such as "12.50")"; }
  static std::optional<Decimal> read(const JSONValue& value);
  static Decimal blank() { return 0; }
};

template <>
struct FieldType<URL> {
  static std::string wanted() { return R"(a text with a URL, such as "myshop://done")"; }
  static std::optional<URL> read(const JSONValue& value);
  static URL blank() { return *URL::parse("blank:"); }
};

/// Quotes the texts and joins them by commas, with `lastWord` ("or") before the last one.
[[nodiscard]] std::string listed(const std::vector<std::string_view>& texts, std::string_view lastWord);

template <HasRawText Enumeration>
struct FieldType<Enumeration> {
  static std::string wanted() {
    std::vector<std::string_view> texts;
    for (const auto one : allCases<Enumeration>()) texts.push_back(rawText(one));
    return listed(texts, "or");
  }
  static std::optional<Enumeration> read(const JSONValue& value) {
    const std::string* text = value.stringValue();
    return text ? fromRawText<Enumeration>(*text) : std::nullopt;
  }
  static Enumeration blank() { return allCases<Enumeration>().front(); }
};

}  // namespace tilvanego::program
