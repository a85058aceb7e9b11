#include <tilvanego/values/QueryReplacement.h>

#include <cstdint>
#include <utility>

#include <tilvanego/values/QueryText.h>
#include <tilvanego/values/URLParts.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

using detail::URLParts;

namespace {

/// The most bytes that a name or a value may have, encoded. For a short one counting takes longer than
/// writing.
std::size_t encodedRoom(std::string_view text) {
  constexpr std::size_t shortText = 1024;
  return text.size() <= shortText ? 3 * text.size()
                                  : percentEncodedSize(text, detail::CharacterClass::queryItem);
}

}  // namespace

QueryReplacement::QueryReplacement(const URL& url, std::size_t items)
    : parts_(url.parts_), tail_(url.slice(url.queryEnd(), url.text_.size())) {
  text_.reserve(url.pathEnd() + tail_.size() + roomFor(items));
  text_.append(url.text_, 0, url.pathEnd());
  parts_.query = static_cast<std::uint32_t>(text_.size());
}

QueryReplacement::QueryReplacement(URL&& url, std::size_t items)
    : parts_(url.parts_), tail_(url.slice(url.queryEnd(), url.text_.size())) {
  const std::size_t end = url.pathEnd();
  text_ = std::move(url.text_);
  text_.resize(end);
  text_.reserve(end + tail_.size() + roomFor(items));
  parts_.query = static_cast<std::uint32_t>(end);
}

void QueryReplacement::add(std::string_view name, std::optional<std::string_view> value) {
  const std::size_t before = text_.size();
  const std::size_t most = 2 + encodedRoom(name) + (value ? encodedRoom(*value) : 0) + detail::queryTextSlack;
  text_.resize_and_overwrite(before + most, [&](char* start, std::size_t) {
    char* out = start + before;
    *out++ = std::exchange(separator_, '&');
    out = detail::writeQueryText(out, name);
    if (value) {
      *out++ = '=';
      out = detail::writeQueryText(out, *value);
    }
    return static_cast<std::size_t>(out - start);
  });
}

std::optional<URL> QueryReplacement::url() && {
  if (empty()) text_ += '?';
  const std::size_t fragment = text_.size();
  text_ += tail_;
  if (text_.size() >= URLParts::none) return std::nullopt;
  if (parts_.fragment != URLParts::none) parts_.fragment = static_cast<std::uint32_t>(fragment);
  return URL(std::move(text_), parts_);
}

}  // namespace support
}  // namespace tilvanego
