#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <tilvanego/json/JSONReader.h>
#include <tilvanego/json/JSONWriter.h>
#include <tilvanego/values/RawText.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] json {

/// How values of one type are read from JSON and written to it. A codec must define two static functions,
/// `bool read(Reader&, T&)` and `bool write(Writer&, const T&)`, which return false after a failure of the
/// reader or the writer. Records (`Record.h`) and enumerations with raw texts have a codec; specialise this
/// for other types. A field may name another struct with these two functions (`field<Codec>`), so that one
/// type may have several forms.
///
/// A codec may define more, for the fields of a record:
/// - `read` may take the field's key as a third argument, for its error texts.
/// - `bool isAbsent(const T&)` makes the field optional: it is not written if this returns true.
/// - `void makeAbsent(T&)` is called on reading if the field is missing.
/// - `T make()` returns the value that `read` assigns to, for types without a default constructor.
template <typename T>
struct Codec;

/// Has access to the private members of a record that declares it a friend.
struct RecordAccess {
  template <typename Record>
  [[nodiscard]] static constexpr auto fields() -> decltype(Record::jsonFields()) {
    return Record::jsonFields();
  }
  template <typename T>
  [[nodiscard]] static T make() {
    if constexpr (requires { Codec<T>::make(); }) {
      return Codec<T>::make();
    } else {
      return T();
    }
  }
  /// Adds a new value in an optional or at the end of a vector.
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
  /// Returns the entry with this key, and whether it is new.
  template <typename Map>
  static auto emplaceIn(Map& map, std::string_view key) {
    if constexpr (std::default_initializable<typename Map::mapped_type>) {
      return map.try_emplace(std::string(key));
    } else {
      return map.try_emplace(std::string(key), make<typename Map::mapped_type>());
    }
  }
};

template <>
struct Codec<std::string> {
  [[nodiscard]] static bool read(Reader& reader, std::string& value) { return reader.readText(value); }
  static bool write(Writer& writer, const std::string& value) { return writer.text(value); }
};

template <>
struct Codec<bool> {
  [[nodiscard]] static bool read(Reader& reader, bool& value) { return reader.readBoolean(value); }
  static bool write(Writer& writer, bool value) { return writer.boolean(value); }
};

template <>
struct Codec<double> {
  [[nodiscard]] static bool read(Reader& reader, double& value) { return reader.readDouble(value); }
  static bool write(Writer& writer, double value) { return writer.number(value); }
};

/// Written as the shortest text that reads back as the same float.
template <>
struct Codec<float> {
  [[nodiscard]] static bool read(Reader& reader, float& value) { return reader.readFloat(value); }
  static bool write(Writer& writer, float value) { return writer.number(value); }
};

/// A type of characters. JSON has no value for a single character.
template <typename T>
concept CharacterType = std::same_as<T, char> || std::same_as<T, wchar_t> || std::same_as<T, char8_t> ||
                        std::same_as<T, char16_t> || std::same_as<T, char32_t>;

/// An integer type. Characters and booleans are not numbers.
template <typename T>
concept WholeNumber = std::integral<T> && !std::same_as<T, bool> && !CharacterType<T>;

/// Integers of up to 64 bits. A number beyond the type's range is refused.
template <WholeNumber Integer>
struct Codec<Integer> {
  using Widest = std::conditional_t<std::signed_integral<Integer>, std::int64_t, std::uint64_t>;

  [[nodiscard]] static bool read(Reader& reader, Integer& value) {
    Widest whole = 0;
    if (!reader.readInteger(whole)) return false;
    if (!std::in_range<Integer>(whole)) return reader.fail(JSONFailure::numberOutOfRange);
    value = static_cast<Integer>(whole);
    return true;
  }
  [[nodiscard]] static bool write(Writer& writer, Integer value) { return writer.integer(Widest{value}); }
};

/// An enumeration that reads an unknown text as its case `RawTexts<Enumeration>::fallback`.
template <typename Enumeration>
concept HasFallbackCase = HasRawText<Enumeration> && requires {
  { RawTexts<Enumeration>::fallback } -> std::convertible_to<Enumeration>;
};

/// Whether no case and no text occurs twice in an enumeration's raw texts.
template <HasRawText Enumeration>
[[nodiscard]] consteval bool rawTextsAreDistinct() {
  constexpr auto& table = RawTexts<Enumeration>::table;
  for (auto one = table.begin(); one != table.end(); ++one) {
    for (auto other = table.begin(); other != one; ++other) {
      if (one->first == other->first || one->second == other->second) return false;
    }
  }
  return true;
}

/// Enumerations, as their raw texts, compared byte for byte. An unknown text is refused, or read as the
/// fallback case. A value that is not a case is refused on writing.
template <HasRawText Enumeration>
struct Codec<Enumeration> {
  static_assert(rawTextsAreDistinct<Enumeration>(), "each case and each raw text is said once");

  [[nodiscard]] static bool read(Reader& reader, Enumeration& value) {
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
  [[nodiscard]] static bool write(Writer& writer, Enumeration value) {
    for (const auto& [one, text] : RawTexts<Enumeration>::table) {
      if (one == value) return writer.text(text);
    }
    return writer.fail(JSONFailure::invalidValue, "a value that is no case of its enumeration");
  }
};

/// Null reads as no value, and no value is written as null. In a record, a field without a value is not
/// written at all.
template <typename T>
struct Codec<std::optional<T>> {
  [[nodiscard]] static bool read(Reader& reader, std::optional<T>& value) {
    if (reader.takeNull()) {
      value.reset();
      return true;
    }
    return Codec<T>::read(reader, RecordAccess::emplaceIn(value));
  }
  [[nodiscard]] static bool write(Writer& writer, const std::optional<T>& value) {
    return value ? Codec<T>::write(writer, *value) : writer.null();
  }
};

}  // namespace json

namespace json::detail {

/// Writes the elements of a vector or an array in their order.
template <typename T>
[[nodiscard]] bool writeElements(Writer& writer, const auto& list) {
  if (!writer.beginArray()) return false;
  std::size_t index = 0;
  for (const T& element : list) {
    writer.element();
    if (!Codec<T>::write(writer, element)) return writer.failInside(index);
    ++index;
  }
  writer.endArray();
  return true;
}

}  // namespace json::detail

namespace [[gnu::visibility("default")]] json {

template <typename T>
struct Codec<std::vector<T>> {
  [[nodiscard]] static bool read(Reader& reader, std::vector<T>& list) {
    list.clear();
    if (!reader.beginArray()) return false;
    std::size_t taken = 0;
    Reader::Next next{};
    while ((next = reader.nextElement()) == Reader::Next::item) {
      const std::size_t index = list.size();
      const bool hasRoom = index < list.capacity() || makeRoom(reader, list, taken);
      if (!hasRoom || !readElement(reader, list)) return reader.failInside(index);
    }
    return next == Reader::Next::end;
  }
  [[nodiscard]] static bool write(Writer& writer, const std::vector<T>& list) {
    return detail::writeElements<T>(writer, list);
  }

 private:
  /// Most arrays are short: memory for them is reserved at once.
  static constexpr std::size_t shortList = 4;

  /// For a moment, both the old and the new buffer exist.
  static bool makeRoom(Reader& reader, std::vector<T>& list, std::size_t& taken) {
    const std::size_t room = std::max(2 * list.capacity(), shortList);
    if (!reader.takeMemory(room * sizeof(T))) return false;
    list.reserve(room);
    reader.giveBackMemory(std::exchange(taken, room * sizeof(T)));
    return true;
  }
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

/// A JSON array of exactly `count` elements.
template <typename T, std::size_t count>
struct Codec<std::array<T, count>> {
  [[nodiscard]] static bool read(Reader& reader, std::array<T, count>& list) {
    if (!reader.beginArray()) return false;
    std::size_t index = 0;
    Reader::Next next{};
    while ((next = reader.nextElement()) == Reader::Next::item) {
      if (index == count) return failForCount(reader, "more");
      if (!Codec<T>::read(reader, list[index])) return reader.failInside(index);
      ++index;
    }
    if (next == Reader::Next::end && index < count) return failForCount(reader, std::to_string(index));
    return next == Reader::Next::end;
  }
  [[nodiscard]] static bool write(Writer& writer, const std::array<T, count>& list) {
    return detail::writeElements<T>(writer, list);
  }

 private:
  static bool failForCount(Reader& reader, const std::string& found) {
    return reader.fail(JSONFailure::invalidValue,
                       "expected a list of " + std::to_string(count) + ", found " + found);
  }
};

/// JSON objects with any keys, always written in ascending order of the keys' bytes. The first of equal keys
/// counts.
template <typename T, typename Less>
struct Codec<std::map<std::string, T, Less>> {
  using Map = std::map<std::string, T, Less>;

  [[nodiscard]] static bool read(Reader& reader, Map& map) {
    map.clear();
    if (!reader.beginObject()) return false;
    std::string_view key;
    Reader::Next next{};
    while ((next = reader.nextKey(key)) == Reader::Next::item) {
      if (!reader.takeMemory(entrySize)) return reader.failInside(std::string(key));
      const auto [entry, isNew] = RecordAccess::emplaceIn(map, key);
      if (!isNew) reader.giveBackMemory(entrySize);
      if (!(isNew ? Codec<T>::read(reader, entry->second) : reader.skip()))
        return reader.failInside(entry->first);
    }
    return next == Reader::Next::end;
  }
  [[nodiscard]] static bool write(Writer& writer, const Map& map) {
    if (!writer.beginObject()) return false;
    for (const auto& [key, value] : map) {
      if (!writer.key(key) || !Codec<T>::write(writer, value)) return writer.failInside(key);
    }
    writer.endObject();
    return true;
  }

  /// The memory of a tree node: the entry, three pointers and a colour.
  static constexpr std::size_t entrySize = sizeof(typename Map::value_type) + 4 * sizeof(void*);
};

}  // namespace json
}  // namespace tilvanego
