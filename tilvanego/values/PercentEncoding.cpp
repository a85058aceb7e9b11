#include <tilvanego/values/PercentEncoding.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/values/Blocks.h>
#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

// Writes at most text.size() bytes. Returns the end of the written bytes, or null for an escape without two
// digits. `isASCII` says whether all written bytes are.
char* decodeEscapes(std::string_view text, char* out, bool& isASCII) {
  Block seen{};
  int seenAlone = 0;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    if (static_cast<std::size_t>(end - at) >= blockSize) {
      const Block block = loadBlock(at);
      std::memcpy(out, &block, blockSize);
      seen |= block;
      const std::size_t plain = firstMarked(block == '%');
      at += plain;
      out += plain;
      if (plain == blockSize) continue;
    }
    char byte = *at++;
    if (byte == '%') {
      if (end - at < 2) return nullptr;
      const int high = hexValue(at[0]);
      const int low = hexValue(at[1]);
      if ((high | low) < 0) return nullptr;
      byte = static_cast<char>(high << 4 | low);
      at += 2;
    }
    seenAlone |= byte;
    *out++ = byte;
  }
  isASCII = !anyMarked(seen < 0) && (seenAlone & 0x80) == 0;
  return out;
}

}  // namespace

bool appendPercentDecoded(std::string& target, std::string_view text) {
  const std::size_t before = target.size();
  bool isASCII = true;
  bool whole = true;
  target.resize_and_overwrite(before + text.size(), [&](char* out, std::size_t) {
    const char* const decodedEnd = decodeEscapes(text, out + before, isASCII);
    whole = decodedEnd != nullptr;
    return whole ? static_cast<std::size_t>(decodedEnd - out) : before;
  });
  if (!whole) return false;
  if (isASCII || isValidUTF8(std::string_view(target).substr(before))) return true;
  target.resize(before);
  return false;
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::optional<std::string> decoded(std::in_place);
  if (!appendPercentDecoded(*decoded, text)) decoded.reset();
  return decoded;
}

}  // namespace support
}  // namespace tilvanego
