#pragma once

#include <tilvanego/json/JSONReader.h>
#include <tilvanego/json/JSONWriter.h>
#include <tilvanego/values/RawText.h>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tilvanego::json {

/// How values of one type are read and written: two static functions,
/// `bool read(Reader&, T&)` and `bool write(Writer&, const T&)`, which return false after the reader's or the
/// writer's failure. A type takes part by specialising this, or by being a record (`Record.h`) or an
/// enumeration with raw texts. Any other struct with these two functions can be named for a single field
/// (`field<Codec>`), so that one type may have several forms.
///
/// A codec may do two things more for the fields of a record: `read` may take the field's key as a third
/// argument, for its failures; and with `bool isAbsent(const T&)`, a field need not be there, and is left out
/// when it says so.
template <typename T>
struct Codec;

/// Reaches the private parts of a record that calls it a friend.
struct RecordAccess {
  template <typename Record>
  static constexpr auto fields() -> decltype(Record::jsonFields()) {
    return Record::jsonFields();
  }
  template <typename T>
  static T make() {
    return T();
  }
  /// A fresh value in an optional or at the end of a list.
  template <typename T>
  static T& emplaceIn(std::optional<T>& holder) {
    if constexpr (std::default_initializable<T>) {
      return holder.emplace();
    } else {
      return holder.emplace(make<T>());
    }
  }
  template <typename T>
  static T& emplaceIn(std::vector<T>& list) {
    if constexpr (std::default_initializable<T>) {
      return list.emplace_back();
    } else {
      return list.emplace_back(make<T>());
    }
  }
};

template <>
struct Codec<std::string> {
  static bool read(Reader& reader, std::string& value) { return reader.readText(value); }
  static bool write(Writer& writer, const std::string& value) { return writer.text(value); }
};

template <>
struct Codec<bool> {
  static bool read(Reader& reader, bool& value) { return reader.readBoolean(value); }
  static bool write(Writer& writer, bool value) { return writer.boolean(value); }
};

template <>
struct Codec<double> {
  static bool read(Reader& reader, double& value) { return reader.readDouble(value); }
  static bool write(Writer& writer, double value) { return writer.number(value); }
};

/// Signed integers of up to 64 bits; a number beyond the type's range is refused.
template <std::signed_integral Integer>
struct Codec<Integer> {
  static bool read(Reader& reader, Integer& value) {
    std::int64_t whole = 0;
    if (!reader.readInteger(whole)) return false;
    if (!std::in_range<Integer>(whole)) return reader.fail(JSONFailure::numberOutOfRange);
    value = static_cast<Integer>(whole);
    return true;
  }
  static bool write(Writer& writer, Integer value) { return writer.integer(value); }
};

/// An enumeration that takes texts it doesn't know for its case `RawTexts<Enumeration>::fallback`.
template <typename Enumeration>
concept HasFallbackCase = HasRawText<Enumeration> && requires {
  { RawTexts<Enumeration>::fallback } -> std::convertible_to<Enumeration>;
};

/// Enumerations by their raw texts, matched byte for byte. An unknown text is refused, or read as the
/// fallback case.
template <HasRawText Enumeration>
struct Codec<Enumeration> {
  static bool read(Reader& reader, Enumeration& value) {
    std::string_view text;
    if (!reader.readText(text)) return false;
    const std::optional<Enumeration> known = fromRawText<Enumeration>(text);
    if constexpr (HasFallbackCase<Enumeration>) {
      value = known.value_or(RawTexts<Enumeration>::fallback);
      return true;
    } else {
      if (!known) return reader.fail(JSONFailure::unknownText);
      value = *known;
      return true;
    }
  }
  static bool write(Writer& writer, Enumeration value) { return writer.text(rawText(value)); }
};

/// Null reads as no value, and no value is written as null; a record leaves absent fields out instead.
template <typename T>
struct Codec<std::optional<T>> {
  static bool read(Reader& reader, std::optional<T>& value) {
    if (reader.takeNull()) {
      value.reset();
      return true;
    }
    return Codec<T>::read(reader, RecordAccess::emplaceIn(value));
  }
  static bool write(Writer& writer, const std::optional<T>& value) {
    return value ? Codec<T>::write(writer, *value) : writer.null();
  }
};

template <typename T>
struct Codec<std::vector<T>> {
  static bool read(Reader& reader, std::vector<T>& list) {
    list.clear();
    if (!reader.beginList()) return false;
    Reader::Next next{};
    while ((next = reader.nextElement()) == Reader::Next::item) {
      const std::size_t index = list.size();
      // Most lists are short: they take their room at once.
      if (index == 0) list.reserve(shortList);
      if (!readElement(reader, list)) return reader.failInside(index);
    }
    return next == Reader::Next::end;
  }
  static bool write(Writer& writer, const std::vector<T>& list) {
    if (!writer.beginList()) return false;
    for (std::size_t i = 0; i < list.size(); ++i) {
      writer.element();
      if (!Codec<T>::write(writer, list[i])) return writer.failInside(i);
    }
    writer.endList();
    return true;
  }

 private:
  static constexpr std::size_t shortList = 4;

  static bool readElement(Reader& reader, std::vector<T>& list) {
    if constexpr (std::same_as<T, bool>) {
      bool element = false;
      if (!Codec<bool>::read(reader, element)) return false;
      list.push_back(element);
      return true;
    } else {
      return Codec<T>::read(reader, RecordAccess::emplaceIn(list));
    }
  }
};

/// Objects with keys of any text, always written in ascending order of the keys' bytes. The first of equal
/// keys counts.
template <typename T, typename Less>
struct Codec<std::map<std::string, T, Less>> {
  using Map = std::map<std::string, T, Less>;

  static bool read(Reader& reader, Map& map) {
    map.clear();
    if (!reader.beginObject()) return false;
    std::string_view key;
    Reader::Next next{};
    while ((next = reader.nextKey(key)) == Reader::Next::item) {
      const auto [entry, isNew] = map.try_emplace(std::string(key));
      if (!(isNew ? Codec<T>::read(reader, entry->second) : reader.skip()))
        return reader.failInside(entry->first);
    }
    return next == Reader::Next::end;
  }
  static bool write(Writer& writer, const Map& map) {
    if (!writer.beginObject()) return false;
    for (const auto& [key, value] : map) {
      if (!writer.key(key) || !Codec<T>::write(writer, value)) return writer.failInside(key);
    }
    writer.endObject();
    return true;
  }
};

}  // namespace tilvanego::json
