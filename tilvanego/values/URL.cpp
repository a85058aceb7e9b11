#include <tilvanego/values/URL.h>

#include <algorithm>

#include <tilvanego/values/Integer.h>
#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/QueryReplacement.h>
#include <tilvanego/values/URLComponents.h>
#include <tilvanego/values/URLSplitter.h>
#include <tilvanego/values/Wiping.h>

namespace [[gnu::visibility("default")]] tilvanego {

using detail::URLParts;

namespace {

std::string decodedOrAsItStands(std::string_view encoded) {
  std::string decoded;
  if (!detail::appendPercentDecoded(decoded, encoded)) decoded = encoded;
  return decoded;
}

}  // namespace

std::string RawQueryItem::decodedName() const { return decodedOrAsItStands(name); }

void URLTextView::decodeInto(std::optional<std::string>& target) const {
  if (!*this) return;
  if (!text_.contains('%')) {
    // Without an escape it is text of a URL, and so ASCII.
    target.emplace(text_);
  } else if (!detail::appendPercentDecoded(target.emplace(), text_)) {
    target.reset();
  }
}

void support::wipe(URL& url) noexcept {
  wipe(url.text_);
  url.parts_ = {};
}

URL URL::assembled(std::string&& text, const detail::SplitText& split) {
  URLParts parts = split.parts;
  if (split.emptyScheme) {
    // "://x" was checked as if it had an authority, but without a scheme the ":" belongs to the path, and so
    // does the rest.
    parts.authority = URLParts::none;
    parts.path = 0;
  }
  return URL(std::move(text), parts);
}

std::expected<URL, URLError> URL::encoded(std::string_view text, const detail::SplitText& split) {
  std::expected<std::string, URLError> encodedText = detail::encodedURL(text, split);
  if (!encodedText) return std::unexpected(encodedText.error());
  const auto again = detail::splitURL(*encodedText);
  if (!again) return std::unexpected(again.error());
  return assembled(*std::move(encodedText), *again);
}

std::expected<URL, URLError> URL::parse(std::string_view text) {
  const auto split = detail::splitURL(text);
  if (!split) return std::unexpected(split.error());
  if (split->needsEncoding()) return encoded(text, *split);
  return assembled(std::string(text), *split);
}

std::expected<URL, URLError> URL::parseOwned(std::string&& text) {
  const auto split = detail::splitURL(text);
  if (!split) return std::unexpected(split.error());
  if (split->needsEncoding()) return encoded(text, *split);
  return assembled(std::move(text), *split);
}

std::optional<std::string_view> URL::scheme() const {
  if (parts_.scheme == URLParts::none) return std::nullopt;
  return slice(0, parts_.scheme);
}

std::optional<std::string_view> URL::userInformation() const {
  if (!hasAuthority() || parts_.host == parts_.authority) return std::nullopt;
  return slice(parts_.authority, parts_.host - 1U);
}

std::optional<std::string> URL::user() const {
  const auto information = userInformation();
  if (!information) return std::nullopt;
  return decodedOrAsItStands(information->substr(0, information->find(':')));
}

std::optional<std::string> URL::password() const {
  const auto information = userInformation();
  if (!information) return std::nullopt;
  const std::size_t colon = information->find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  return decodedOrAsItStands(information->substr(colon + 1));
}

std::optional<std::string_view> URL::writtenHost() const {
  if (!hasAuthority()) return std::nullopt;
  return slice(parts_.host, parts_.hostEnd);
}

std::optional<std::string> URL::host() const {
  const auto written = writtenHost();
  if (!written) return std::nullopt;
  if (auto unicode = detail::hostToUnicode(*written)) return unicode;
  return decodedOrAsItStands(*written);
}

std::optional<std::string> URL::encodedHost() const {
  const auto written = writtenHost();
  if (!written) return std::nullopt;
  const auto unicode = detail::hostToUnicode(*written);
  if (!unicode) return std::string(*written);
  std::string encodedHost;
  detail::appendPercentEncoded(encodedHost, *unicode, detail::CharacterClass::host);
  return encodedHost;
}

std::optional<std::uint32_t> URL::port() const {
  if (!hasAuthority() || parts_.path <= parts_.hostEnd) return std::nullopt;
  return wholeNumber<std::uint32_t>(slice(parts_.hostEnd + 1U, parts_.path));
}

std::size_t URL::queryEnd() const { return std::min<std::size_t>(parts_.fragment, text_.size()); }

std::size_t URL::pathEnd() const { return std::min<std::size_t>(parts_.query, queryEnd()); }

std::string_view URL::encodedPath() const { return slice(parts_.path, pathEnd()); }

std::string URL::path() const { return decodedOrAsItStands(encodedPath()); }

std::optional<std::string_view> URL::encodedQuery() const {
  if (parts_.query == URLParts::none) return std::nullopt;
  return slice(parts_.query + std::size_t{1}, queryEnd());
}

std::optional<std::vector<QueryItem>> URL::queryItems() const {
  if (parts_.query == URLParts::none) return std::nullopt;
  const RawQueryItems raw = rawQueryItems();
  std::vector<QueryItem> items;
  items.reserve(static_cast<std::size_t>(std::ranges::distance(raw)));
  for (const RawQueryItem& item : raw) items.push_back({item.decodedName(), item.value.decoded()});
  return items;
}

std::optional<std::string_view> URL::encodedFragment() const {
  if (parts_.fragment == URLParts::none) return std::nullopt;
  return slice(parts_.fragment + std::size_t{1}, text_.size());
}

std::optional<std::string> URL::fragment() const {
  const auto encodedText = encodedFragment();
  return encodedText ? std::optional(decodedOrAsItStands(*encodedText)) : std::nullopt;
}

std::optional<URL> URL::replacingQueryItems(std::span<const QueryItem> items) const {
  support::QueryReplacement replacement(*this, items.size());
  for (const QueryItem& item : items) replacement.add(item.name, item.value);
  return std::move(replacement).url();
}

std::optional<URL> URLComponents::url() const {
  std::string text;
  if (scheme) {
    if (!detail::isScheme(*scheme)) return std::nullopt;
    text += *scheme;
    text += ':';
  }
  if (host) {
    const auto written = detail::writtenHost(*host);
    if (!written || (!path.empty() && !path.starts_with('/'))) return std::nullopt;
    text += "//";
    text += *written;
  } else if (path.starts_with("//")) {
    return std::nullopt;
  }
  detail::appendEncodedPath(text, path);
  if (queryItems) text += '?';
  auto parsed = URL::parse(std::move(text));
  if (!parsed) return std::nullopt;
  return queryItems ? parsed->replacingQueryItems(*queryItems) : std::optional(*std::move(parsed));
}

}  // namespace tilvanego
