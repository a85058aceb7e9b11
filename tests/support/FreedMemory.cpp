#include "tests/support/FreedMemory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include <malloc.h>

namespace {

// Nothing here may allocate: all of it runs within the allocator.
struct Secret {
  std::array<char, 32> text{};
  std::size_t size = 0;
};
constinit std::array<Secret, 8> secrets{};
constinit std::size_t secretCount = 0;
constinit std::atomic<bool> watching = false;
constinit std::array<char, 96> around{};
constinit std::atomic<std::size_t> aroundSize = 0;

void look(const char* block, std::size_t size) {
  for (std::size_t i = 0; i < secretCount; ++i) {
    const auto* const at =
        static_cast<const char*>(memmem(block, size, secrets[i].text.data(), secrets[i].size));
    if (at == nullptr || aroundSize != 0) continue;
    const char* const from = at - std::min<std::ptrdiff_t>(at - block, 32);
    const std::size_t count = std::min(around.size(), static_cast<std::size_t>(block + size - from));
    std::memcpy(around.data(), from, count);
    aroundSize = count;
  }
}

/// A block that goes is looked through and then emptied, so that each secret is found where it was left, and
/// not again by the block's next owners.
void lookAndEmpty(void* block) {
  if (block == nullptr) return;
  const std::size_t size = malloc_usable_size(block);
  if (watching) look(static_cast<const char*>(block), size);
  std::memset(block, 0, size);
}

}  // namespace

namespace tilvanego::test {

FreedMemoryWatch::FreedMemoryWatch(std::initializer_list<std::string_view> texts) {
  secretCount = texts.size();
  std::ranges::transform(texts, secrets.begin(), [](std::string_view text) {
    Secret secret{.size = text.size()};
    text.copy(secret.text.data(), secret.text.size());
    return secret;
  });
  aroundSize = 0;
  watching = true;
}

FreedMemoryWatch::~FreedMemoryWatch() { watching = false; }

std::string FreedMemoryWatch::found() {
  const bool was = watching.exchange(false);
  std::string text(around.data(), aroundSize);
  watching = was;
  return text;
}

}  // namespace tilvanego::test

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

void* operator new(std::size_t size) {
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory) noexcept {
  lookAndEmpty(memory);
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

#else

extern "C" {

void __libc_free(
    void* memory);  // NOLINT(bugprone-reserved-identifier): glibc's own name for its own function

void free(void* memory) noexcept {
  lookAndEmpty(memory);
  __libc_free(memory);
}

/// Always moves, so that no part of a block goes unseen.
void* realloc(void* memory, std::size_t size) noexcept {
  if (memory != nullptr && size == 0) {
    free(memory);
    return nullptr;
  }
  void* const moved = malloc(size);
  if (moved == nullptr || memory == nullptr) return moved;
  std::memcpy(moved, memory, std::min(size, malloc_usable_size(memory)));
  free(memory);
  return moved;
}

}  // extern "C"

#endif
