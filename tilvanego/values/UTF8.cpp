#include <tilvanego/values/UTF8.h>

#include <cstring>

#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Blocks.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

std::size_t asciiPrefixLength(std::string_view text) {
  std::size_t at = 0;
  // Between other characters runs are short, so blocks follow only where eight bytes are ASCII.
  for (std::uint64_t eight = 0; at + sizeof eight <= text.size();) {
    std::memcpy(&eight, text.data() + at, sizeof eight);
    if ((eight & 0x8080808080808080U) != 0) break;
    at += sizeof eight;
    while (at + blockSize <= text.size() && !anyMarked(loadBlock(text.data() + at) < 0)) at += blockSize;
  }
  while (at < text.size() && isASCII(text[at])) ++at;
  return at;
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
