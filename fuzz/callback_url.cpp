#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/values/LinkWriter.h>
#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/URLComponents.h>

#include "fuzz/Fuzzer.h"

// Any bytes as a callback URL. A URL that parses must have the same parts by every function that reads them.
namespace {

using tilvanego::LinkItem;
using tilvanego::LinkTarget;
using tilvanego::QueryItem;
using tilvanego::RawQueryItem;
using tilvanego::URL;
using tilvanego::URLComponents;
using tilvanego::writeLink;

bool sameComponents(const URL& a, const URL& b) {
  return a == b && a.scheme() == b.scheme() && a.user() == b.user() && a.password() == b.password() &&
         a.writtenHost() == b.writtenHost() && a.host() == b.host() && a.encodedHost() == b.encodedHost() &&
         a.port() == b.port() && a.encodedPath() == b.encodedPath() && a.path() == b.path() &&
         a.encodedQuery() == b.encodedQuery() && a.queryItems() == b.queryItems() &&
         a.encodedFragment() == b.encodedFragment() && a.fragment() == b.fragment();
}

void checkReadsBack(const URL& url, std::string_view input) {
  const std::string& text = url.absoluteString();
  require(std::ranges::all_of(text, [](char byte) { return byte > ' ' && byte < 0x7F; }),
          "a URL is printable ASCII");
  const auto again = URL::parse(text);
  require(again && sameComponents(url, *again), "a URL's text is that URL");
  const auto owned = URL::parse(std::string(input));
  require(owned && sameComponents(url, *owned), "a text that is given away makes the same URL");
}

void checkItems(const URL& url) {
  const auto items = url.queryItems();
  require(items.has_value() == url.encodedQuery().has_value(), "a query has items, even none");
  std::size_t index = 0;
  for (const RawQueryItem& raw : url.rawQueryItems()) {
    require(items && index < items->size(), "no more raw items than decoded ones");
    const QueryItem& item = (*items)[index++];
    require(raw.decodedName() == item.name && raw.value.decoded() == item.value,
            "raw and decoded items agree");
  }
  require(index == items.value_or(std::vector<QueryItem>{}).size(), "no fewer raw items than decoded ones");
}

/// Items are the same after they are written and read again, unless their escapes are no UTF-8.
void checkWriting(const URL& url) {
  const std::vector<QueryItem> items = url.queryItems().value_or(std::vector<QueryItem>{});
  const auto replaced = url.replacingQueryItems(items);
  const auto again =
      replaced ? URL::parse(replaced->absoluteString()) : std::unexpected(tilvanego::URLError{});
  require(again && sameComponents(*replaced, *again), "a URL with other items is a URL");
  // A single item without name and value is written like no items.
  const bool lone = items == std::vector<QueryItem>{{"", std::nullopt}};
  require(lone || again->queryItems() == items, "items that are put into a URL are read from it");

  static constexpr LinkTarget target("tilvanego", "payment", "/v1/start");
  std::vector<LinkItem> linkItems;
  for (const QueryItem& item : items)
    linkItems.push_back({item.name, item.value ? *item.value : std::string_view()});
  const URL link = writeLink(target, linkItems).value();
  const auto read = URL::parse(link.absoluteString());
  require(read && sameComponents(link, *read), "a written link is the URL of its text");
  require(std::ranges::equal(
              link.queryItems().value_or(std::vector<QueryItem>{}), items, {},
              [](const QueryItem& item) { return item.value.value_or(""); },
              [](const QueryItem& item) { return item.value.value_or(""); }),
          "a link's values are those that were written");
}

void checkComparison(const URL& url) {
  require(tilvanego::detail::callbackURLsMatch(url, url), "a URL matches itself");
  const auto scheme = url.scheme();
  const URLComponents components{scheme ? std::optional<std::string>(*scheme) : std::nullopt, url.host(),
                                 url.path(), std::vector<QueryItem>{{"status", "approved"}}};
  const auto rebuilt = components.url();
  // An escaped host may hold characters that IDNA maps to others.
  if (!rebuilt || url.writtenHost().value_or("").contains('%')) return;
  require(tilvanego::detail::callbackURLsMatch(url, *rebuilt),
          "scheme, host and path survive new components");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(data, data + size);
  const auto url = URL::parse(std::string_view(input));
  if (!url) {
    require(url.error().offset <= input.size() && !url.error().message.empty(),
            "an error says where and what");
    return 0;
  }
  checkReadsBack(*url, input);
  checkItems(*url);
  checkWriting(*url);
  checkComparison(*url);
  return 0;
}
