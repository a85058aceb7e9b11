#pragma once

#include <optional>
#include <span>
#include <string_view>

#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/URL.h>

namespace tilvanego {

/// Scheme, host and path of a link, constants in the source. A part that would need percent-encoding does not
/// compile.
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

  [[nodiscard]] constexpr std::string_view scheme() const { return scheme_; }
  constexpr std::string_view host() const { return host_; }
  [[nodiscard]] constexpr std::string_view path() const { return path_; }

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

/// One item of a link's query, decoded, in UTF-8.
struct LinkItem {
  std::string_view name;
  std::string_view value;
};

/// Returns scheme://host/path?name=value&…, with each name and value percent-encoded. Not
/// escaped are the ASCII letters and digits and -._~!$'()*+,;:@/? ; so "+" stays "+", and a space becomes
/// "%20". Without items there is no "?". Allocates once. Returns no value if the text would be 4 GiB or
/// longer, which no URL may be.
[[nodiscard]] std::optional<URL> writeLink(const LinkTarget& target, std::span<const LinkItem> items);

}  // namespace tilvanego
