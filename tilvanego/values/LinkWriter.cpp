#include <tilvanego/values/LinkWriter.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/QueryText.h>
#include <tilvanego/values/URLParts.h>

namespace tilvanego {

using detail::CharacterClass;
using detail::URLParts;

namespace {

char* write(char* out, std::string_view text) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* writeText(char* out, const LinkTarget& target, std::span<const LinkItem> items) {
  out = write(out, target.scheme());
  out = write(out, "://");
  out = write(out, target.host());
  out = write(out, target.path());
  char separator = '?';
  for (const auto& [name, value] : items) {
    *out++ = std::exchange(separator, '&');
    out = detail::writeQueryText(out, name);
    *out++ = '=';
    out = detail::writeQueryText(out, value);
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
  text.resize_and_overwrite(room + detail::queryTextSlack, [&](char* out, std::size_t) {
    return static_cast<std::size_t>(writeText(out, target, items) - out);
  });
  return URL(std::move(text), partsOf(target, !items.empty()));
}

}  // namespace tilvanego
