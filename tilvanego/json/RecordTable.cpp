#include <tilvanego/json/RecordTable.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] json {

std::size_t RecordTable::find(std::string_view key) const {
  const std::size_t mask = slots.size() - 1;
  for (std::size_t slot = keyHash(key) & mask; slots[slot] != freeSlot; slot = (slot + 1) & mask) {
    if (fields[slots[slot]].key() == key) return slots[slot];
  }
  return fields.size();
}

}  // namespace json
}  // namespace tilvanego
