#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace tilvanego::json {

class Reader;
class Writer;

/// What the reader and the writer know of one field of a record, its types erased.
struct RecordField {
  /// The key in its quotes, and the first 16 bytes of that, filled up with zeros.
  std::string_view quoted;
  std::array<char, 16> lead;
  /// The field whose key follows in ascending order.
  std::uint8_t afterInSorted;
  bool (*read)(Reader&, void* record);
  /// Writes key and value, or nothing if the field is absent.
  bool (*write)(Writer&, const RecordField&, const void* record);

  [[nodiscard]] constexpr std::string_view key() const { return quoted.substr(1, quoted.size() - 2); }
};

/// A record's fields in the order of its table, with what is computed from them before the program runs.
struct RecordTable {
  std::span<const RecordField> fields;
  /// The fields' indices in ascending order of their keys' bytes.
  const std::uint8_t* sorted;
  /// Open addressing by `keyHash`, a power of two long, with free slots: a field's index or `freeSlot`.
  std::span<const std::uint8_t> slots;
  /// One bit for each field that must be there, and for each that `clear` can make absent.
  std::uint64_t required;
  std::uint64_t clearable;
  void (*clear)(void* record, std::uint64_t which);

  static constexpr std::size_t maxFields = 64;
  static constexpr std::uint8_t freeSlot = 0xFF;

  /// The field with this key, or the number of fields.
  [[nodiscard]] std::size_t find(std::string_view key) const;
};

/// A few bytes tell a record's keys apart well enough; what they don't, the probing does.
[[nodiscard]] constexpr std::size_t keyHash(std::string_view key) {
  if (key.empty()) return 0;
  const auto byteAt = [&](std::size_t i) {
    return static_cast<std::size_t>(static_cast<unsigned char>(key[i]));
  };
  const std::size_t mixed = byteAt(0) * 0x9E5 + byteAt(key.size() / 2) * 0x1F35 +
                            byteAt(key.size() - 1) * 0x6A7 + key.size() * 0xB1D;
  return mixed ^ (mixed >> 7);
}

}  // namespace tilvanego::json
