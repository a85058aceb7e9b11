#include <tilvanego/values/UTF8.h>

#include <tilvanego/values/Blocks.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

std::size_t asciiPrefixLength(std::string_view text) {
  const char* const begin = text.data();
  const char* const end = findMarked(begin, begin + text.size(), [](auto bytes) { return bytes < 0; });
  return static_cast<std::size_t>(end - begin);
}

void appendScalar(std::string& text, char32_t scalar) {
  const auto continuation = [&](int shift) { text += static_cast<char>(0x80 | ((scalar >> shift) & 0x3F)); };
  if (scalar < 0x80) {
    text += static_cast<char>(scalar);
  } else if (scalar < 0x800) {
    text += static_cast<char>(0xC0 | (scalar >> 6));
    continuation(0);
  } else if (scalar < 0x10000) {
    text += static_cast<char>(0xE0 | (scalar >> 12));
    continuation(6);
    continuation(0);
  } else {
    text += static_cast<char>(0xF0 | (scalar >> 18));
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

}  // namespace support
}  // namespace tilvanego
