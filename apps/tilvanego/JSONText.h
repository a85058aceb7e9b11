#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::program {

/// One JSON value (RFC 8259) as compact text on one line. Slashes and characters outside ASCII are not
/// escaped.
struct JSONText {
  std::string text;
};

/// Replaces each byte that isn't UTF-8 by U+FFFD.
[[nodiscard]] JSONText jsonText(std::string_view value);
[[nodiscard]] JSONText jsonText(std::int64_t value);
template <std::same_as<bool> Bool>
[[nodiscard]] JSONText jsonText(Bool value) {
  return {value ? "true" : "false"};
}
/// A URL is its absolute text, a decimal its plain text, an enumeration its raw text.
[[nodiscard]] inline JSONText jsonText(const URL& value) {
  return jsonText(std::string_view(value.absoluteString()));
}
[[nodiscard]] inline JSONText jsonText(const Decimal& value) {
  return jsonText(std::string_view(value.text()));
}
template <HasRawText Enumeration>
[[nodiscard]] JSONText jsonText(Enumeration value) {
  return jsonText(rawText(value));
}
[[nodiscard]] inline JSONText jsonText(JSONText value) { return value; }

/// A JSON object with its fields in the order of the calls.
class JSONObject {
 public:
  template <typename Value>
  JSONObject& add(std::string_view name, const Value& value) {
    return addText(name, jsonText(value));
  }
  JSONObject& add(std::string_view name, const std::string& value) {
    return addText(name, jsonText(std::string_view(value)));
  }
  JSONObject& add(std::string_view name, const JSONObject& value) { return addText(name, value.finish()); }
  /// Adds nothing for an absent value.
  template <typename Value>
  JSONObject& add(std::string_view name, const std::optional<Value>& value) {
    return value ? add(name, *value) : *this;
  }
  template <typename Value>
  JSONObject& addOrNull(std::string_view name, const std::optional<Value>& value) {
    return value ? add(name, *value) : addText(name, {"null"});
  }

  [[nodiscard]] JSONText finish() const { return {text_ + '}'}; }

 private:
  JSONObject& addText(std::string_view name, const JSONText& value);

  std::string text_ = "{";
};

/// A JSON array with its elements in the order of the calls.
class JSONList {
 public:
  void add(const JSONObject& element);
  [[nodiscard]] JSONText finish() const { return {text_ + ']'}; }

 private:
  std::string text_ = "[";
};

}  // namespace tilvanego::program
