#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/RawQueryItems.h>
#include <tilvanego/values/URLParts.h>

namespace tilvanego {

class LinkTarget;
struct LinkItem;
class URL;

namespace detail {
struct SplitText;
void wipe(URL& url) noexcept;
}  // namespace detail

/// Why a text is no URL.
struct URLError {
  /// The byte of the text where the trouble was found.
  std::size_t offset = 0;
  /// A sentence without its full stop, for a developer; static storage.
  std::string_view message;

  bool operator==(const URLError&) const = default;
};

/// An absolute or relative URL of any scheme, after RFC 3986: an immutable text with its components. The text
/// is ASCII.
///
/// Views that the accessors give point into the text and die with the object, or when it is assigned or moved
/// from. A moved-from URL is empty: its text, its path, and no other component. Different objects may be used
/// on different threads, and one object by any number of readers.
class URL {
 public:
  URL(const URL&) = default;
  URL(URL&& other) noexcept
      : text_(std::exchange(other.text_, {})), parts_(std::exchange(other.parts_, {})) {}
  URL& operator=(const URL&) = default;
  URL& operator=(URL&& other) noexcept {
    text_ = std::exchange(other.text_, {});
    parts_ = std::exchange(other.parts_, {});
    return *this;
  }
  ~URL() = default;

  /// Makes a URL of any bytes. A component that holds a byte which can't stand in it is percent-encoded as a
  /// whole, "%" included ("a b%20" becomes "a%20b%2520"); one that holds none stays as it is. A host beyond
  /// ASCII takes its IDNA form (UTS #46). No URL is: the empty text, a scheme or host with other characters
  /// than RFC 3986 allows (an ASCII host isn't encoded), a port that isn't digits, an open bracket, and a
  /// text of 4 GiB and more. Takes time linear in the text's length, and one allocation if nothing needs
  /// encoding.
  [[nodiscard]] static std::expected<URL, URLError> parse(std::string_view text);

  /// As above, and keeps the buffer of `text` if nothing needs encoding. A template, so that a literal isn't
  /// ambiguous.
  template <std::same_as<std::string> Text>
  [[nodiscard]] static std::expected<URL, URLError> parse(Text&& text) {
    return parseOwned(std::forward<Text>(text));
  }

  /// The whole text.
  [[nodiscard]] const std::string& absoluteString() const TILVANEGO_LIFETIMEBOUND { return text_; }

  /// The scheme as written, without its ":".
  [[nodiscard]] std::optional<std::string_view> scheme() const TILVANEGO_LIFETIMEBOUND;

  /// The user, and what stands behind the first ":" of the user information; decoded as path() is.
  [[nodiscard]] std::optional<std::string> user() const;
  [[nodiscard]] std::optional<std::string> password() const;

  /// The host, decoded: escapes undone, "xn--" labels in Unicode, an address with its brackets. Empty for
  /// "file:///x"; no value without "//". A host whose escapes make no UTF-8 is given as it stands.
  [[nodiscard]] std::optional<std::string> host() const;
  /// The host as it stands in the text.
  [[nodiscard]] std::optional<std::string_view> writtenHost() const TILVANEGO_LIFETIMEBOUND;
  /// The host percent-encoded: as it stands, except that "xn--" labels are in Unicode and then escaped.
  [[nodiscard]] std::optional<std::string> encodedHost() const;

  /// The port. No value if there is none, if it is empty, or if it is beyond 32 bits.
  [[nodiscard]] std::optional<std::uint32_t> port() const;

  /// The path with its escapes undone; as it stands if they make no UTF-8. Dot segments stay.
  [[nodiscard]] std::string path() const;
  /// The path as it stands in the text.
  [[nodiscard]] std::string_view encodedPath() const TILVANEGO_LIFETIMEBOUND;

  /// What stands between "?" and "#". "a?" has an empty query, "a" has none.
  [[nodiscard]] std::optional<std::string_view> encodedQuery() const TILVANEGO_LIFETIMEBOUND;
  /// The query's items in their order, decoded. No value if there is no query, none of them if it is empty.
  [[nodiscard]] std::optional<std::vector<QueryItem>> queryItems() const;
  /// The query's items as they stand; none without a query. Allocates nothing.
  [[nodiscard]] RawQueryItems rawQueryItems() const TILVANEGO_LIFETIMEBOUND {
    return RawQueryItems(encodedQuery().value_or(""));
  }

  /// What stands behind "#", decoded as path() is.
  [[nodiscard]] std::optional<std::string> fragment() const;
  /// The fragment as it stands in the text.
  [[nodiscard]] std::optional<std::string_view> encodedFragment() const TILVANEGO_LIFETIMEBOUND;

  /// This URL with these items for its query, encoded, and everything else as it stands. No items make an
  /// empty query. No value if the text would reach 4 GiB.
  [[nodiscard]] std::optional<URL> replacingQueryItems(std::span<const QueryItem> items) const;

  /// Equality of the texts, byte by byte.
  bool operator==(const URL& other) const { return text_ == other.text_; }

 private:
  friend std::optional<URL> writeLink(const LinkTarget& target, std::span<const LinkItem> items);
  friend void detail::wipe(URL& url) noexcept;

  URL(std::string text, const detail::URLParts& parts) : text_(std::move(text)), parts_(parts) {}
  static URL assembled(std::string text, const detail::SplitText& split);
  static std::expected<URL, URLError> encoded(std::string_view text, const detail::SplitText& split);
  static std::expected<URL, URLError> parseOwned(std::string text);

  std::string_view slice(std::size_t from, std::size_t to) const { return {text_.data() + from, to - from}; }
  bool hasAuthority() const { return parts_.authority != detail::URLParts::none; }
  std::optional<std::string_view> userInformation() const;
  std::size_t queryEnd() const;
  std::size_t pathEnd() const;

  std::string text_;
  detail::URLParts parts_;
};

}  // namespace tilvanego
