#include <tilvanego/values/LinkWriter.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include <tilvanego/values/CharacterRuns.h>
#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/URLParts.h>

namespace tilvanego {

using detail::Block;
using detail::blockSize;
using detail::CharacterClass;
using detail::URLParts;

namespace {

// Texts are copied in whole blocks, so the buffer must have this many bytes more than the text.
constexpr std::size_t slack = blockSize;

char* write(char* out, std::string_view text) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* writeEncoded(char* out, std::string_view text) {
  const char* at = text.data();
  const char* const end = at + text.size();
  const auto writeOne = [&out](char character) {
    if (detail::belongs(character, CharacterClass::queryItem)) {
      *out++ = character;
    } else {
      out = detail::writeEscape(out, character);
    }
  };
  while (static_cast<std::size_t>(end - at) >= blockSize) {
    const Block block = detail::loadBlock(at);
    std::memcpy(out, &block, blockSize);
    const std::size_t kept = detail::firstMarked(~detail::membersOf<CharacterClass::queryItem>(block));
    at += kept;
    out += kept;
    if (kept < blockSize) writeOne(*at++);
  }
  while (at != end) writeOne(*at++);
  return out;
}

char* writeText(char* out, const LinkTarget& target, std::span<const LinkItem> items) {
  out = write(out, target.scheme());
  out = write(out, "://");
  out = write(out, target.host());
  out = write(out, target.path());
  char separator = '?';
  for (const auto& [name, value] : items) {
    *out++ = std::exchange(separator, '&');
    out = writeEncoded(out, name);
    *out++ = '=';
    out = writeEncoded(out, value);
  }
  return out;
}

std::size_t targetSize(const LinkTarget& target) {
  return target.scheme().size() + 3 + target.host().size() + target.path().size();
}

std::size_t encodedSize(const LinkTarget& target, std::span<const LinkItem> items) {
  std::size_t size = targetSize(target);
  for (const auto& [name, value] : items) {
    size += 2 + detail::percentEncodedSize(name, CharacterClass::queryItem) +
            detail::percentEncodedSize(value, CharacterClass::queryItem);
  }
  return size;
}

URLParts partsOf(const LinkTarget& target, bool hasQuery) {
  URLParts parts;
  parts.scheme = static_cast<std::uint32_t>(target.scheme().size());
  parts.authority = parts.host = parts.scheme + 3;
  parts.hostEnd = parts.path = parts.host + static_cast<std::uint32_t>(target.host().size());
  if (hasQuery) parts.query = parts.path + static_cast<std::uint32_t>(target.path().size());
  return parts;
}

}  // namespace

std::optional<URL> writeLink(const LinkTarget& target, std::span<const LinkItem> items) {
  // For a short link, reserve the maximum size: counting takes longer than writing. The text is written in
  // its final place, since it may contain a secret, of which no copy must remain.
  constexpr std::size_t shortLink = 2048;
  std::size_t room = targetSize(target);
  for (const auto& [name, value] : items) room += 2 + 3 * (name.size() + value.size());
  if (room > shortLink) room = encodedSize(target, items);
  if (room >= URLParts::none) return std::nullopt;

  std::string text;
  text.resize_and_overwrite(room + slack, [&](char* out, std::size_t) {
    return static_cast<std::size_t>(writeText(out, target, items) - out);
  });
  return URL(std::move(text), partsOf(target, !items.empty()));
}

}  // namespace tilvanego
