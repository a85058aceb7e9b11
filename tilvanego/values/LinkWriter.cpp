#include <tilvanego/values/LinkWriter.h>

#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/URLParts.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace tilvanego {

using detail::CharacterClass;

LinkWriter::LinkWriter(const LinkTarget& target, std::size_t itemBytes) {
  const auto offset = [this] { return static_cast<std::uint32_t>(text_.size()); };
  text_.reserve(target.scheme().size() + 3 + target.host().size() + target.path().size() + itemBytes);
  text_ += target.scheme();
  parts_.scheme = offset();
  text_ += "://";
  parts_.authority = parts_.host = offset();
  text_ += target.host();
  parts_.hostEnd = parts_.path = offset();
  text_ += target.path();
}

std::size_t LinkWriter::itemSize(std::string_view name, std::string_view value) {
  return 2 + detail::percentEncodedSize(name, CharacterClass::queryItem) +
         detail::percentEncodedSize(value, CharacterClass::queryItem);
}

LinkWriter& LinkWriter::item(std::string_view name) {
  if (parts_.query == detail::URLParts::none) {
    parts_.query = static_cast<std::uint32_t>(text_.size());
    text_ += '?';
  } else {
    text_ += '&';
  }
  detail::appendPercentEncoded(text_, name, CharacterClass::queryItem);
  return *this;
}

LinkWriter& LinkWriter::item(std::string_view name, std::string_view value) {
  item(name);
  text_ += '=';
  detail::appendPercentEncoded(text_, value, CharacterClass::queryItem);
  return *this;
}

URL LinkWriter::finish() && { return URL(std::move(text_), parts_); }

}  // namespace tilvanego
