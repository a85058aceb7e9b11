#pragma once

#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/URLParts.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace tilvanego {

/// Scheme, host and path of a link, fixed in the source. What would need encoding doesn't compile.
class LinkTarget {
 public:
  consteval LinkTarget(std::string_view scheme, std::string_view host, std::string_view path)
      : scheme_(scheme), host_(host), path_(path) {
    const bool startsRight = !scheme.empty() && scheme[0] >= 'a' && scheme[0] <= 'z' && path.starts_with('/');
    if (!startsRight || !all(scheme, detail::CharacterClass::schemeTail) ||
        !all(host, detail::CharacterClass::host) || !all(path, detail::CharacterClass::path)) {
      throw "a link's scheme, host and path must stand in a URL as they are";
    }
  }

  constexpr std::string_view scheme() const { return scheme_; }
  constexpr std::string_view host() const { return host_; }
  constexpr std::string_view path() const { return path_; }

 private:
  static consteval bool all(std::string_view text, detail::CharacterClass allowed) {
    for (const char character : text) {
      if (!detail::belongs(character, allowed)) return false;
    }
    return true;
  }

  std::string_view scheme_;
  std::string_view host_;
  std::string_view path_;
};

/// Writes scheme://host/path?name=value&… straight into one text. Names and values are given decoded, in
/// UTF-8, and are percent-encoded as queryItemEncoded does. With the sizes of all items summed beforehand, a
/// link is one allocation.
class LinkWriter {
 public:
  /// `itemBytes` is how many bytes of items to reserve, as itemSize gives them. More may follow.
  explicit LinkWriter(const LinkTarget& target, std::size_t itemBytes = 0);

  /// How many bytes the item adds, its separator included.
  [[nodiscard]] static std::size_t itemSize(std::string_view name, std::string_view value);

  /// Appends name=value.
  LinkWriter& item(std::string_view name, std::string_view value);
  /// Appends the name alone.
  LinkWriter& item(std::string_view name);

  /// The URL. The writer is spent.
  [[nodiscard]] URL finish() &&;

 private:
  std::string text_;
  detail::URLParts parts_;
};

}  // namespace tilvanego
