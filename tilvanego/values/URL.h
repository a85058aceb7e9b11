#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/RawQueryItems.h>
#include <tilvanego/values/Support.h>
#include <tilvanego/values/URLParts.h>

namespace tilvanego::detail {
struct SplitText;
}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

class LinkTarget;
struct LinkItem;
class URL;

namespace support {
class QueryReplacement;
void wipe(URL& url) noexcept;
}  // namespace support

/// Why a text is not a URL.
struct URLError {
  /// The position of the fault in the text, in bytes.
  std::size_t offset = 0;
  /// A sentence for a developer, without a full stop. In static storage.
  std::string_view message;

  bool operator==(const URLError&) const = default;
  /// Writes message and offset.
  friend std::ostream& operator<<(std::ostream& out, const URLError& error) { return error.show(out); }

 private:
  std::ostream& show(std::ostream& out) const;
};

/// An absolute or relative URL of any scheme (RFC 3986): an immutable ASCII text and its components.
///
/// The accessors return views into the text. They are valid until the object is destroyed, assigned or moved
/// from. A moved-from URL has an empty text, an empty path, and no other component. Several threads may read
/// one object at the same time.
class URL {
 public:
  URL(const URL&) = default;
  URL(URL&& other) noexcept : text_(std::move(other.text_)), parts_(std::exchange(other.parts_, {})) {
    other.text_.clear();
  }
  URL& operator=(const URL&) = default;
  URL& operator=(URL&& other) noexcept {
    text_ = std::exchange(other.text_, {});
    parts_ = std::exchange(other.parts_, {});
    return *this;
  }
  ~URL() = default;

  /// Makes a URL from any bytes. A component is kept unchanged if all its bytes are allowed in it. Otherwise
  /// the whole component is percent-encoded, "%" included: "a b%20" becomes "a%20b%2520". A host beyond ASCII
  /// becomes its IDNA form (UTS #46). Returns an error for: an empty text; a scheme or an ASCII host with
  /// characters that RFC 3986 does not allow; a port that is not digits; an unclosed bracket; a text of 4 GiB
  /// or more. Takes linear time, and one allocation if nothing needs encoding.
  [[nodiscard]] static std::expected<URL, URLError> parse(std::string_view text);

  /// Like above, but keeps the buffer of `text` if nothing needs encoding. A template, so that a literal is
  /// not ambiguous.
  template <std::same_as<std::string> Text>
  [[nodiscard]] static std::expected<URL, URLError> parse(Text&& text) {
    return parseOwned(std::forward<Text>(text));
  }

  /// The whole text.
  [[nodiscard]] const std::string& absoluteString() const TILVANEGO_LIFETIMEBOUND { return text_; }

  /// The scheme as written, without ":".
  [[nodiscard]] std::optional<std::string_view> scheme() const TILVANEGO_LIFETIMEBOUND;

  /// The parts of the user information before and after its first ":", decoded like `path()`.
  [[nodiscard]] std::optional<std::string> user() const;
  [[nodiscard]] std::optional<std::string> password() const;

  /// The host, decoded: without percent escapes, "xn--" labels in Unicode, an IP address with its brackets.
  /// Empty for "file:///x"; no value without "//". Unchanged if the decoded host would not be UTF-8.
  [[nodiscard]] std::optional<std::string> host() const;
  /// The host as written.
  [[nodiscard]] std::optional<std::string_view> writtenHost() const TILVANEGO_LIFETIMEBOUND;
  /// The host percent-encoded: as written, but "xn--" labels are converted to Unicode and escaped.
  [[nodiscard]] std::optional<std::string> encodedHost() const;

  /// The port. No value if it is missing, empty, or larger than 32 bits.
  [[nodiscard]] std::optional<std::uint32_t> port() const;

  /// The path with its percent escapes decoded, or as written if the result would not be UTF-8. Dot segments
  /// are kept.
  [[nodiscard]] std::string path() const;
  /// The path as written.
  [[nodiscard]] std::string_view encodedPath() const TILVANEGO_LIFETIMEBOUND;

  /// The query, between "?" and "#", as written. "a?" has an empty query, "a" has none.
  [[nodiscard]] std::optional<std::string_view> encodedQuery() const TILVANEGO_LIFETIMEBOUND;
  /// The query's items in their order, decoded. No value without a query; no items for an empty query.
  [[nodiscard]] std::optional<std::vector<QueryItem>> queryItems() const;
  /// The query's items as written; no items without a query. Allocates nothing.
  [[nodiscard]] RawQueryItems rawQueryItems() const TILVANEGO_LIFETIMEBOUND {
    return RawQueryItems(encodedQuery().value_or(""));
  }

  /// The fragment, after "#", decoded like `path()`.
  [[nodiscard]] std::optional<std::string> fragment() const;
  /// The fragment as written.
  [[nodiscard]] std::optional<std::string_view> encodedFragment() const TILVANEGO_LIFETIMEBOUND;

  /// Returns this URL with its query replaced by these items, encoded. Without items the query is empty.
  /// Returns no value if the text would be 4 GiB or longer.
  [[nodiscard]] std::optional<URL> replacingQueryItems(std::span<const QueryItem> items) const;

  /// Compares the texts byte by byte.
  bool operator==(const URL& other) const { return text_ == other.text_; }
  std::strong_ordering operator<=>(const URL& other) const { return text_ <=> other.text_; }

  /// Writes the text. A password and the values of query items with a secret's name (`isSecretName`) are
  /// "<redacted>".
  friend std::ostream& operator<<(std::ostream& out, const URL& url) { return url.show(out); }

 private:
  friend std::optional<URL> writeLink(const LinkTarget& target, std::span<const LinkItem> items);
  friend class support::QueryReplacement;
  friend void support::wipe(URL& url) noexcept;

  URL(std::string&& text, const detail::URLParts& parts) : text_(std::move(text)), parts_(parts) {}
  static URL assembled(std::string&& text, const detail::SplitText& split);
  static std::expected<URL, URLError> encoded(std::string_view text, const detail::SplitText& split);
  static std::expected<URL, URLError> parseOwned(std::string&& text);
  std::ostream& show(std::ostream& out) const;

  std::string_view slice(std::size_t from, std::size_t to) const { return {text_.data() + from, to - from}; }
  bool hasAuthority() const { return parts_.authority != detail::URLParts::none; }
  std::optional<std::string_view> userInformation() const;
  std::size_t queryEnd() const;
  std::size_t pathEnd() const;

  std::string text_;
  detail::URLParts parts_;
};

}  // namespace tilvanego

template <>
struct std::hash<tilvanego::URL> {
  [[nodiscard]] std::size_t operator()(const tilvanego::URL& url) const {
    return std::hash<std::string>()(url.absoluteString());
  }
};
