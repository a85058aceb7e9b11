#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Converts between a type and the keys of a JSON object. Defined for texts and for enumerations with raw
/// texts. A host may specialise it for other types.
template <typename Key>
struct CodingKey;

template <>
struct CodingKey<std::string> {
  static std::string_view stringValue(const std::string& key) { return key; }
  static std::optional<std::string> fromString(std::string_view text) { return std::string(text); }
  /// No value: a text is never a numeric key, not even "1".
  static std::optional<std::int64_t> intValue(const std::string&) { return std::nullopt; }
  static std::optional<std::string> fromInt(std::int64_t) { return std::nullopt; }
};

template <HasRawText Enumeration>
struct CodingKey<Enumeration> {
  static std::string_view stringValue(Enumeration key) { return rawText(key); }
  static std::optional<Enumeration> fromString(std::string_view text) {
    return fromRawText<Enumeration>(text);
  }
  static std::optional<std::int64_t> intValue(Enumeration) { return std::nullopt; }
  static std::optional<Enumeration> fromInt(std::int64_t) { return std::nullopt; }
};

}  // namespace tilvanego
