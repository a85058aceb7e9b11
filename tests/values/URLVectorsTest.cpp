#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/values/LinkWriter.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/URLComponents.h>

#include "tests/support/Test.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

using test::vectorCases;
using test::VectorValue;
using Text = std::optional<std::string>;
using Items = std::optional<std::vector<QueryItem>>;

Text owned(std::optional<std::string_view> view) { return view ? Text(*view) : std::nullopt; }

Text textOf(const std::optional<URL>& url) { return url ? Text(url->absoluteString()) : std::nullopt; }

Items itemsOf(const VectorValue& value) {
  if (value.isNull()) return std::nullopt;
  std::vector<QueryItem> items;
  for (const VectorValue& item : value.array()) items.push_back({item[0].text(), item[1].optionalText()});
  return items;
}

URL parsed(const std::string& text) {
  auto url = URL::parse(text);
  if (!url) throw std::runtime_error("no URL: " + text);
  return *std::move(url);
}

void expectComponents(const URL& url, const VectorValue& expected) {
  EXPECT_EQ(url.absoluteString(), expected["url"].text());
  EXPECT_EQ(owned(url.scheme()), expected["scheme"].optionalText());
  EXPECT_EQ(url.user(), expected["user"].optionalText());
  EXPECT_EQ(url.password(), expected["password"].optionalText());
  EXPECT_EQ(url.host(), expected["host"].optionalText());
  EXPECT_EQ(url.encodedHost(), expected["encodedHost"].optionalText());
  const VectorValue& port = expected["port"];
  EXPECT_EQ(url.port(), port.isNull() ? std::nullopt : std::optional<std::uint32_t>(port.integer()));
  EXPECT_EQ(url.path(), expected["path"].text());
  EXPECT_EQ(url.encodedPath(), expected["encodedPath"].text());
  EXPECT_EQ(owned(url.encodedQuery()), expected["encodedQuery"].optionalText());
  EXPECT_EQ(url.fragment(), expected["fragment"].optionalText());
  EXPECT_EQ(url.queryItems(), itemsOf(expected["items"]));
}

TEST(URLCases, TextsAreTheURLsThatTheyShouldBe) {
  for (const VectorValue& expected : vectorCases("urls.json", 655)) {
    const std::string& input = expected["input"].text();
    SCOPED_TRACE(input);
    const auto url = URL::parse(input);
    ASSERT_EQ(url.has_value(), !expected["url"].isNull());
    if (!url) continue;
    expectComponents(*url, expected);
    EXPECT_EQ(*url, parsed(expected["rebuilt"].text()));
  }
}

TEST(URLCases, AURLsTextIsAURLWithTheSameComponents) {
  for (const VectorValue& expected : vectorCases("urls.json", 655)) {
    if (expected["url"].isNull()) continue;
    SCOPED_TRACE(expected["url"].text());
    expectComponents(parsed(expected["url"].text()), expected);
  }
}

TEST(URLCases, CallbackURLsMatchBySchemeHostAndPath) {
  for (const VectorValue& expected : vectorCases("url-comparison.json", 169)) {
    SCOPED_TRACE(expected["a"].text() + "  and  " + expected["b"].text());
    const URL a = parsed(expected["a"].text());
    const URL b = parsed(expected["b"].text());
    EXPECT_EQ(detail::callbackURLsMatch(a, b), expected["matches"].boolean());
    EXPECT_EQ(detail::callbackURLsMatch(b, a), expected["matches"].boolean());
  }
}

TEST(URLCases, SchemeHostAndPathGoIntoFreshComponents) {
  for (const VectorValue& expected : vectorCases("url-rebuilding.json", 578)) {
    SCOPED_TRACE(expected["base"].text());
    const URL base = parsed(expected["base"].text());
    const std::vector<QueryItem> items{{"a", "b"}};
    const URLComponents components{owned(base.scheme()), base.host(), base.path(), items};
    EXPECT_EQ(textOf(components.url()), expected["rebuilt"].optionalText());
  }
}

URL linkWith(std::string_view name, std::string_view value) {
  const LinkItem item{name, value};
  return writeLink(LinkTarget("x", "y", "/z"), {&item, 1}).value();
}

TEST(URLCases, NamesAndValuesAreEncodedInLinks) {
  for (const VectorValue& expected : vectorCases("query-encoding.json", 150)) {
    const std::string& text = expected["value"].text();
    SCOPED_TRACE(text);
    const URL link = linkWith("k", text);
    const URL named = linkWith(text, "v");
    EXPECT_EQ(link.absoluteString(), expected["link"].text());
    EXPECT_EQ(named.absoluteString(), expected["name"].text());
    EXPECT_EQ(link.queryItems(), Items({{"k", text}}));
    EXPECT_EQ(named.queryItems(), Items({{text, "v"}}));
    const URLComponents components{"x", "y", "/z", std::vector<QueryItem>{{"k", text}}};
    EXPECT_EQ(components.url(), link);
  }
}

}  // namespace
}  // namespace tilvanego
