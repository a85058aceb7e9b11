#include <tilvanego/values/Wiping.h>

#include <algorithm>
#include <cstring>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

// The compiler must assume that the assembly reads the memory. OPENSSL_cleanse would write one word at a
// time.
void wipe(void* memory, std::size_t size) noexcept {
  if (size == 0) return;
  std::memset(memory, 0, size);
  asm volatile("" : : "r"(memory) : "memory");
}

void wipe(std::string& text) noexcept {
  // Resizing to the capacity does not reallocate, and makes the bytes after the end accessible.
  text.resize_and_overwrite(text.capacity(), [capacity = text.capacity()](char* memory, std::size_t) {
    wipe(memory, capacity);
    return std::size_t{0};
  });
}

void wipe(Bytes& bytes) noexcept {
  bytes.resize(bytes.capacity());
  wipe(bytes.data(), bytes.size());
  bytes.clear();
}

void wipe(std::vector<QueryItem>& items) noexcept {
  for (QueryItem& item : items) wipe(item.value);
  items.clear();
}

void makeRoom(std::string& text, std::size_t count) {
  if (text.capacity() - text.size() >= count) return;
  std::string larger;
  larger.reserve(std::max(text.size() + count, 2 * text.capacity()));
  larger = text;
  wipe(text);
  text = std::move(larger);
}

}  // namespace support
}  // namespace tilvanego
