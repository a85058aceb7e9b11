#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// How a type serves as the key of a JSON object: texts do as they are, and enumerations by their raw texts.
template <typename Key>
struct CodingKey;

template <>
struct CodingKey<std::string> {
  static std::string_view stringValue(const std::string& key) { return key; }
  static std::optional<std::string> fromString(std::string_view text) { return std::string(text); }
  /// A text is never a key by number, also if it reads as one.
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
