#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] json {

class Reader;
class Writer;

/// A few bytes distinguish most keys of a record; probing finds the others.
[[nodiscard]] constexpr std::size_t keyHash(std::string_view key) {
  if (key.empty()) return 0;
  const auto byteAt = [&](std::size_t i) {
    return static_cast<std::size_t>(static_cast<unsigned char>(key[i]));
  };
  const std::size_t mixed = byteAt(0) * 0x9E5 + byteAt(key.size() / 2) * 0x1F35 +
                            byteAt(key.size() - 1) * 0x6A7 + key.size() * 0xB1D;
  return mixed ^ (mixed >> 7);
}

/// The description of one field of a record for the reader and the writer, without its types.
struct RecordField {
  /// The quoted key, and its first 16 bytes, filled up with zeros.
  std::string_view quoted;
  std::array<char, 16> lead;
  /// The index of the field whose key is the next in ascending order.
  std::uint8_t afterInSorted;
  bool (*read)(Reader&, void* record);
  /// Writes the key and the value, or nothing if the field is absent.
  bool (*write)(Writer&, const RecordField&, const void* record);

  [[nodiscard]] constexpr std::string_view key() const { return quoted.substr(1, quoted.size() - 2); }
};

/// A record's fields in their order, and tables that are computed from them at compile time.
struct RecordTable {
  std::span<const RecordField> fields;
  /// The fields' indices in ascending order of their keys' bytes.
  const std::uint8_t* sorted;
  /// A hash table by `keyHash` with open addressing. Its size is a power of two, and some places are free. A
  /// place holds a field's index or `freeSlot`.
  std::span<const std::uint8_t> places;
  /// One bit for each required field, and for each field that `clear` can make absent.
  std::uint64_t required;
  std::uint64_t clearable;
  void (*clear)(void* record, std::uint64_t which);

  static constexpr std::size_t maxFields = 64;
  static constexpr std::uint8_t freeSlot = 0xFF;

  /// Returns the index of the field with this key, or the number of fields.
  [[nodiscard]] std::size_t find(std::string_view key) const {
    const std::size_t mask = places.size() - 1;
    for (std::size_t place = keyHash(key) & mask; places[place] != freeSlot; place = (place + 1) & mask) {
      if (fields[places[place]].key() == key) return places[place];
    }
    return fields.size();
  }
};

}  // namespace json
}  // namespace tilvanego
