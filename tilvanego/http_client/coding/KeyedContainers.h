#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/http_client/coding/CodingKey.h>
#include <tilvanego/json/Record.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/values/Lifetime.h>

/// Classes that write and read a JSON object key by key, for the codec of a type without a table of fields:
///
/// ```cpp
/// struct Ticket {
///   Decimal price;
///   std::map<std::string, std::string> notes;
/// };
///
/// template <>
/// struct tilvanego::json::Codec<Ticket> {
///   static bool write(Writer& writer, const Ticket& ticket) {
///     KeyedEncodingContainer<> fields(writer);
///     return fields.open() && fields.encode(ticket.price, "price") &&
///            fields.encodeMap(ticket.notes) && fields.close();
///   }
///   static bool read(Reader& reader, Ticket& ticket) {
///     KeyedDecodingContainer<> fields(reader);
///     return fields.open() && fields.decode(ticket.price, "price") &&
///            fields.decodeMap(ticket.notes, {"price"});
///   }
/// };
/// ```
///
/// Each operation returns false if it fails; the error is in the writer or the reader. A `Decimal` is encoded
/// as a JSON string, never as a number, also in arrays and dictionaries.
namespace [[gnu::visibility("default")]] tilvanego {

/// Writes an object with its keys in the order of the calls, also if the format sorts keys. The writer must
/// outlive it.
template <typename Key = std::string>
class KeyedEncodingContainer {
 public:
  explicit KeyedEncodingContainer(json::Writer& writer) : writer_(writer) {}

  /// Starts the object. Call it first.
  [[nodiscard]] bool open() { return writer_.beginObject(); }
  /// Ends the object. Call it last.
  [[nodiscard]] bool close() {
    writer_.endObject();
    return true;
  }

  /// Writes one key and its value by the value's codec. Leaves the key out if the codec calls the value
  /// absent, such as `NullEncodable::encodeNothing()`.
  template <typename T>
  bool encode(const T& value, const Key& key) {
    using Coding = json::Codec<T>;
    if constexpr (json::detail::mayBeAbsent<Coding, T>) {
      if (Coding::isAbsent(value)) return true;
    }
    const std::string_view text = CodingKey<Key>::stringValue(key);
    if constexpr (HasRawText<Key>) {
      if (fromRawText<Key>(text) != key)
        return writer_.fail(JSONFailure::invalidValue, "a key that is no case of its enumeration");
    }
    return (writer_.key(text) && Coding::write(writer_, value)) || writer_.failInside(std::string(text));
  }
  /// Leaves the key out if there is no value.
  template <typename T>
  bool encodeIfPresent(const std::optional<T>& value, const Key& key) {
    return !value || encode(*value, key);
  }

  template <typename T>
  bool encodeArray(const std::vector<T>& values, const Key& key) {
    return encode(values, key);
  }
  template <typename T>
  bool encodeArrayIfPresent(const std::optional<std::vector<T>>& values, const Key& key) {
    return encodeIfPresent(values, key);
  }

  /// Writes each entry of the dictionary as a key of this object, in the dictionary's order. Stops at the
  /// first failure.
  template <typename T, typename Less>
  bool encodeMap(const std::map<Key, T, Less>& pairs) {
    return std::ranges::all_of(pairs, [&](const auto& pair) { return encode(pair.second, pair.first); });
  }
  template <typename T, typename Less>
  bool encodeMapIfPresent(const std::optional<std::map<Key, T, Less>>& pairs) {
    return !pairs || encodeMap(*pairs);
  }

 private:
  json::Writer& writer_;
};

/// Reads an object; its keys can be read in any order. Keys that `CodingKey<Key>` doesn't accept are checked
/// for valid JSON and ignored; of equal keys the first is used. The reader and its text must outlive it.
template <typename Key = std::string>
class KeyedDecodingContainer {
 public:
  explicit KeyedDecodingContainer(json::Reader& reader) : reader_(reader) {}

  /// Reads the whole object. Call it first.
  [[nodiscard]] bool open() {
    if (!reader_.beginObject()) return false;
    std::string_view text;
    json::Reader::Next next{};
    while ((next = reader_.nextKey(text)) == json::Reader::Next::item) {
      std::optional<Key> key = CodingKey<Key>::fromString(text);
      std::string step(text);
      std::string_view value;
      if (!reader_.takeMemory(entrySize) || !reader_.skip(value)) return reader_.failInside(std::move(step));
      if (key && values_.try_emplace(*key, value).second) keys_.push_back(*std::move(key));
    }
    return next == json::Reader::Next::end;
  }

  /// All keys, in the order of the text.
  [[nodiscard]] const std::vector<Key>& allKeys() const TILVANEGO_LIFETIMEBOUND { return keys_; }
  [[nodiscard]] bool contains(const Key& key) const { return values_.contains(key); }

  /// Reads the value of the key. Fails if the key is missing. A `Decimal` is read by `json::AmountFromText`.
  template <typename T>
  bool decode(T& value, const Key& key) {
    const std::string_view text = CodingKey<Key>::stringValue(key);
    const auto entry = values_.find(key);
    if (entry == values_.end()) return reader_.fail(JSONFailure::missingKey, std::string(text));
    json::Reader inner(entry->second, reader_);
    if (json::detail::readKeyed<json::Codec<T>>(inner, value, text)) return true;
    reader_.failIn(entry->second, std::move(inner.error()));
    return reader_.failInside(std::string(text));
  }
  /// Sets no value if the key is missing or its value is null.
  template <typename T>
  bool decodeIfPresent(std::optional<T>& value, const Key& key) {
    value.reset();
    const auto entry = values_.find(key);
    if (entry == values_.end() || entry->second == "null") return true;
    return decode(json::RecordAccess::emplaceIn(value), key);
  }

  /// Fails if an element can't be decoded.
  template <typename T>
  bool decodeArray(std::vector<T>& values, const Key& key) {
    return decode(values, key);
  }
  /// Sets no value if the key is missing; null is an error.
  template <typename T>
  bool decodeArrayIfPresent(std::optional<std::vector<T>>& values, const Key& key) {
    values.reset();
    return !contains(key) || decode(values.emplace(), key);
  }

  /// Reads all keys except the excluded ones, in the order of the text. Stops at the first failure.
  template <typename T, typename Less>
  bool decodeMap(std::map<Key, T, Less>& pairs, const std::set<Key>& excludedKeys = {}) {
    pairs.clear();
    return std::ranges::all_of(
        keys_, [&](const Key& key) { return excludedKeys.contains(key) || decode(pairs[key], key); });
  }

 private:
  /// The memory of one key: its entry in the map, and its place in the vector while that grows.
  static constexpr std::size_t entrySize =
      sizeof(Key) + sizeof(std::string_view) + 4 * sizeof(void*) + 3 * sizeof(Key);

  json::Reader& reader_;
  std::vector<Key> keys_;
  /// The JSON text of each value, a part of the reader's text.
  std::map<Key, std::string_view> values_;
};

}  // namespace tilvanego
