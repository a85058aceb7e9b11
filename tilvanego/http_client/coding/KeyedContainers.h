#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <tilvanego/http_client/coding/CodingKey.h>
#include <tilvanego/json/Record.h>
#include <tilvanego/json/ValueCodecs.h>

/// JSON objects written and read key by key, for the codecs of types that no table of fields describes:
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
/// Every operation returns false after a failure, which it leaves in the writer or the reader. A `Decimal` is
/// a text on the wire, never a number, in lists and dictionaries too.
namespace [[gnu::visibility("default")]] tilvanego {

/// Writes an object's keys in the order of the calls, also where the format wants them sorted. The writer
/// must outlive it.
template <typename Key = std::string>
class KeyedEncodingContainer {
 public:
  explicit KeyedEncodingContainer(json::Writer& writer) : writer_(writer) {}

  bool open() { return writer_.beginObject(); }
  bool close() {
    writer_.endObject();
    return true;
  }

  /// A `Decimal` as `formattedDecimal` prints it; other types by their codecs. A value that its codec calls
  /// absent, such as `NullEncodable`'s nothing, is left out.
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

  /// Each pair of the dictionary, in its order, directly in this object. Stops at the first failure.
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

/// An object whose keys are asked for in any order. Keys that aren't a `Key` are checked for good JSON and
/// passed over; the first of equal keys counts. The reader and its text must outlive it.
template <typename Key = std::string>
class KeyedDecodingContainer {
 public:
  explicit KeyedDecodingContainer(json::Reader& reader) : reader_(reader) {}

  /// Takes the whole object from the reader.
  bool open() {
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

  /// In the order of the text.
  [[nodiscard]] const std::vector<Key>& allKeys() const { return keys_; }
  [[nodiscard]] bool contains(const Key& key) const { return values_.contains(key); }

  /// Fails if the key is missing. A `Decimal` is read as `json::AmountFromText` says.
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
  /// A missing key and null give no value.
  template <typename T>
  bool decodeIfPresent(std::optional<T>& value, const Key& key) {
    value.reset();
    const auto entry = values_.find(key);
    if (entry == values_.end() || entry->second == "null") return true;
    return decode(json::RecordAccess::emplaceIn(value), key);
  }

  /// Fails with the first element that fails.
  template <typename T>
  bool decodeArray(std::vector<T>& values, const Key& key) {
    return decode(values, key);
  }
  /// A missing key gives no list; null fails.
  template <typename T>
  bool decodeArrayIfPresent(std::optional<std::vector<T>>& values, const Key& key) {
    values.reset();
    return !contains(key) || decode(values.emplace(), key);
  }

  /// The values of all keys but the excluded ones. Fails with the first that fails, in the order of the text.
  template <typename T, typename Less>
  bool decodeMap(std::map<Key, T, Less>& pairs, const std::set<Key>& excludedKeys = {}) {
    pairs.clear();
    return std::ranges::all_of(
        keys_, [&](const Key& key) { return excludedKeys.contains(key) || decode(pairs[key], key); });
  }

 private:
  /// What a key takes: its entry in the tree, and its place in the list as that grows.
  static constexpr std::size_t entrySize =
      sizeof(Key) + sizeof(std::string_view) + 4 * sizeof(void*) + 3 * sizeof(Key);

  json::Reader& reader_;
  std::vector<Key> keys_;
  /// Each value's text, a piece of the reader's.
  std::map<Key, std::string_view> values_;
};

}  // namespace tilvanego
