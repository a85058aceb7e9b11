#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/values/LinkWriter.h>
#include <tilvanego/values/Literals.h>
#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/URLComponents.h>

#include "tests/support/AllocationCount.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

using namespace std::string_literals;
using test::allocationsOf;
using test::vectorCases;
using test::VectorValue;
using Items = std::vector<QueryItem>;
using Text = std::optional<std::string>;

URL parsed(std::string_view text) {
  auto url = URL::parse(text);
  if (!url) throw std::runtime_error("no URL: " + std::string(text));
  return *std::move(url);
}

TEST(URL, LiteralsAreURLsAsTheyStand) {
  EXPECT_EQ("myshop://done/A-1?a=b%20c#d"_url, parsed("myshop://done/A-1?a=b%20c#d"));
  // Each byte in each place: what the compiler takes, the parser takes unchanged.
  std::size_t taken = 0;
  for (const std::string_view form :
       {"*",       "a*:b",       "*a:b",     "a*//h",    "a:*",   "a://*",   "a://h*",
        "a://h:*", "a://h:8*/p", "a://h*/p", "a://h/p*", "a:p?*", "a:p#*",   "a:?*#",
        "a://h?*", "a://h#*",    "a:%*0",    "a:?%4*",   "a:#%*", "a:p#%*1", "a://%4*"}) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string text(form);
      text[text.find('*')] = static_cast<char>(byte);
      if (!detail::LiteralReader::isURL(text)) continue;
      ++taken;
      const auto url = URL::parse(text);
      ASSERT_TRUE(url && url->scheme()) << text;
      EXPECT_EQ(url->absoluteString(), text);
    }
  }
  EXPECT_EQ(taken, 986U);
  for (const std::string_view refused : {"", "done", ":a", "1a:b", "a b:c", "a://u@h", "a://[::1]",
                                         "a://h:", "a://h:8a", "a:b c", "a:\u00e9", "a:%4", "a:#b#c"}) {
    EXPECT_FALSE(detail::LiteralReader::isURL(refused)) << refused;
  }
}

TEST(URL, AreOrderedAndHashedByTheirTextAndWrittenWithoutSecrets) {
  EXPECT_LT(parsed("a:b"), parsed("a:c"));
  EXPECT_LT(parsed("a:b"), parsed("a:b?"));
  EXPECT_EQ(std::hash<URL>()(parsed("a:b")), std::hash<URL>()(parsed("a:b")));
  EXPECT_NE(std::hash<URL>()(parsed("a:b")), std::hash<URL>()(parsed("a:c")));
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"a:b", "a:b"},
      {"a://h:8/p%20?#f", "a://h:8/p%20?#f"},
      {"a://user:word@h/p?x&y=&z=1#f", "a://user:<redacted>@h/p?x&y=&z=1#f"},
      {"a:b?Basic%5FToken=t&c&payload=&clear_pan=1#f",
       "a:b?Basic%5FToken=<redacted>&c&payload=<redacted>&clear_pan=<redacted>#f"},
  };
  for (const auto& [text, shown] : cases) EXPECT_EQ(testing::PrintToString(parsed(text)), shown);
  EXPECT_EQ(testing::PrintToString(Items{{"a", "b\n"},
                                         {"\x1B"
                                          "c",
                                          {}},
                                         {"payload", "p"}}),
            R"({ "a"="b\n", "\u{1B}c", "payload"=<redacted> })");
  EXPECT_EQ(testing::PrintToString(URL::parse("").error()), "an empty text is no URL (offset 0)");
}

TEST(URL, SaysAtWhichByteATextStopsBeingAURL) {
  const std::pair<std::string, std::size_t> cases[] = {
      {"", 0},
      {"1shop://done", 0},
      {"shop\0://done"s, 4},
      {"shop://do ne", 9},
      {"shop://done%4", 11},
      {"shop://done\0"s, 11},
      {"shop://host:80a", 14},
      {"shop://[::1", 7},
      {"shop://[::1]x", 12},
      {"shop://[\xC3\xA9]", 8},
      {"shop://\xFF", 7},
  };
  for (const auto& [text, offset] : cases) {
    SCOPED_TRACE(text);
    const auto url = URL::parse(text);
    ASSERT_FALSE(url.has_value());
    EXPECT_EQ(url.error().offset, offset);
    EXPECT_FALSE(url.error().message.empty());
  }
}

TEST(URL, EncodesBytesThatAreNoUTF8AndControlCharactersOneByOne) {
  EXPECT_EQ(parsed("a://b/\xFFz\xC3?\x00#\x7F"s).absoluteString(), "a://b/%FFz%C3?%00#%7F");
  EXPECT_EQ(parsed("a://\xC3:\xFF@h/").absoluteString(), "a://%C3:%FF@h/");
}

TEST(URL, RefusesAHostWhoseASCIIFormIsNoHost) {
  for (const std::string& host :
       {"a\uFF0Fb"s, "a\uFF1Ab"s, "a\uFF05b"s, "\u00AD"s, "\u00E9%41"s, "\u00E9 "s}) {
    EXPECT_FALSE(URL::parse("http://" + host + "/").has_value()) << host;
    EXPECT_FALSE((URLComponents{"http", host, "/", {}}.url().has_value())) << host;
  }
  EXPECT_TRUE(URL::parse("http://" + std::string(500, 'a') + "\u00E9").has_value());
  EXPECT_FALSE(URL::parse("http://" + std::string(1023, 'a') + "\u00E9").has_value());
}

TEST(URL, GivesWhatCannotBeDecodedAsItStandsAndSuchAValueNotAtAll) {
  const URL url = parsed("a://us%FFer@h%FF/p%FF?n%FF=1&v=%FF&w=%C3%A9#f%FF");
  EXPECT_EQ(url.user(), "us%FFer");
  EXPECT_EQ(url.host(), "h%FF");
  EXPECT_EQ(url.path(), "/p%FF");
  EXPECT_EQ(url.fragment(), "f%FF");
  EXPECT_EQ(url.queryItems(), (Items{{"n%FF", "1"}, {"v", std::nullopt}, {"w", "\u00E9"}}));
}

TEST(URL, HasNoPortBeyond32Bits) {
  EXPECT_EQ(parsed("a://h:4294967295").port(), 4294967295U);
  EXPECT_EQ(parsed("a://h:4294967296").port(), std::nullopt);
  EXPECT_EQ(parsed("a://h:" + std::string(4000, '9')).port(), std::nullopt);
}

TEST(URL, ReadsLongRunsOfOneCharacter) {
  for (const char* const start : {"", "a://", "a://b/"}) {
    for (const char character : {':', '%', '@', '\0', '\xC3'}) {
      SCOPED_TRACE(start + std::string(1, character));
      const auto url = URL::parse(start + std::string(std::size_t{1} << 17U, character));
      EXPECT_TRUE(!url || URL::parse(url->absoluteString()) == *url);
    }
  }
}

TEST(URL, GivesItsQueryItemsAsTheyStandInOrder) {
  const std::pair<std::string_view, std::vector<RawQueryItem>> cases[] = {
      {"a://b?", {}},
      {"a://b?#x=1", {}},
      {"?=", {{"", ""}}},
      {"?&", {{"", std::nullopt}, {"", std::nullopt}}},
      {"?a%3D=b=%26&c#d=e", {{"a%3D", "b=%26"}, {"c", std::nullopt}}},
      {"?a=1&a=&&A=2", {{"a", "1"}, {"a", ""}, {"", std::nullopt}, {"A", "2"}}},
  };
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(text);
    const URL url = parsed(text);
    std::vector<RawQueryItem> items;
    for (const RawQueryItem& item : url.rawQueryItems()) items.push_back(item);
    EXPECT_EQ(items, expected);
  }
}

TEST(URL, KeepsAllButTheQueryWhenItsItemsAreReplaced) {
  const Items items{{"a b", "&=\u00E9"}, {"c", std::nullopt}, {"d", ""}};
  const auto url = parsed("a://u:p@h:1/%41?x=y#f?g").replacingQueryItems(items);
  ASSERT_TRUE(url.has_value());
  EXPECT_EQ(url->absoluteString(), "a://u:p@h:1/%41?a%20b=%26%3D%C3%A9&c&d=#f?g");
  EXPECT_EQ(url->queryItems(), items);
  EXPECT_EQ(url->fragment(), "f?g");
  EXPECT_EQ(parsed("a:b#c").replacingQueryItems({})->absoluteString(), "a:b?#c");
  const Items longItems{{"k", "v"}, {std::string(3000, '='), std::string(2000, 'v') + "\xFF"}};
  const auto longURL = parsed("a:b").replacingQueryItems(longItems)->absoluteString();
  EXPECT_EQ(longURL.size(), 3U + 4 + 1 + 9000 + 1 + 2003);
  EXPECT_TRUE(longURL.ends_with("%3D=" + std::string(2000, 'v') + "%FF"));
}

TEST(URL, IsEmptyOnceItIsMovedFrom) {
  for (const std::string_view text :
       {"a://u:p@h:1/x?y#z", "tilvanego://a-host-that-is-on-the-heap/path?q#f"}) {
    URL from = parsed(text);
    URL made = std::move(from);
    EXPECT_EQ(made, parsed(text));
    URL assigned = parsed("b:c");
    assigned = std::move(made);
    EXPECT_EQ(assigned.fragment(), parsed(text).fragment());
    for (const URL& moved : {from, made}) {
      EXPECT_EQ(moved.absoluteString(), "");
      EXPECT_EQ(moved.path(), "");
      EXPECT_FALSE(moved.scheme() || moved.host() || moved.user() || moved.port() || moved.queryItems() ||
                   moved.fragment());
    }
    URL& same = assigned;
    assigned = std::move(same);
    EXPECT_EQ(assigned, parsed(text));
  }
}

TEST(URLComponents, MakeNoURLOfPartsThatWouldReadOtherwise) {
  const URLComponents refused[] = {
      {},
      {"1a", "h", "/", {}},
      {"a:b", "h", "/", {}},
      {"a", "h/x", "/", {}},
      {"a", "u@h", "/", {}},
      {"a", "h:1", "/", {}},
      {"a", "h%41", "/", {}},
      {"a", "[::1", "/", {}},
      {"a", "[::1]x]", "/", {}},
      {"a", "h", "x", {}},
      {"a", std::nullopt, "//x", {}},
      {std::nullopt, std::nullopt, "//x", {}},
  };
  for (const URLComponents& components : refused) {
    EXPECT_FALSE(components.url().has_value())
        << components.host.value_or("no host") << ' ' << components.path;
  }
}

TEST(URLComponents, AreReadBackFromTheirURL) {
  const URLComponents cases[] = {
      {"a", "", "", {}},
      {"a", "[::1]", "/x", Items{}},
      {"a", "\u00E9.com", "/%41 ?#:", Items{{"%", "+&=#"}}},
      {std::nullopt, std::nullopt, "a:b:c/d:e", Items{{"", "x"}}},
      {std::nullopt, "h", "//x", Items{{"x", std::nullopt}}},
      {"mailto", std::nullopt, "a@b.c", {}},
  };
  for (const URLComponents& components : cases) {
    SCOPED_TRACE(components.path);
    const auto url = components.url();
    ASSERT_TRUE(url.has_value());
    EXPECT_EQ(url->scheme(), components.scheme);
    EXPECT_EQ(url->host(), components.host);
    EXPECT_EQ(url->path(), components.path);
    EXPECT_EQ(url->queryItems(), components.queryItems);
  }
}

TEST(PercentEncoding, DecodesOnlyWholeEscapesThatMakeUTF8) {
  const std::pair<std::string_view, Text> cases[] = {
      {"a+b", "a+b"},
      {"%00%7f%C3%a9", "\0\x7F\u00E9"s},
      {"\xC3\xA9", "\u00E9"},
      {"a%4", std::nullopt},
      {"%zz", std::nullopt},
      {"\xC3", std::nullopt},
      {"%C0%80", std::nullopt},
      {"%ED%A0%80", std::nullopt},
      {"%F4%90%80%80", std::nullopt},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(detail::percentDecoded(text), expected) << text;
    std::string target = "kept";
    EXPECT_EQ(detail::appendPercentDecoded(target, text), expected.has_value()) << text;
    EXPECT_EQ(target, "kept" + expected.value_or("")) << text;
  }
}

TEST(CallbackURLs, MatchOnlyTheSamePlace) {
  const std::tuple<std::string_view, std::string_view, bool> cases[] = {
      {"a://h:1", "A://u@H:2/?x#y", true},  {"a://EX\u00C4MPLE", "a://xn--EXMPLE-cua", true},
      {"a://h%C3%84", "a://h%c3%a4", true}, {"a://h/%FF", "a://h", false},
      {"a://%FF", "a://%FE", false},        {"a://", "a:", false},
      {"a://h", "a://h.", false},
  };
  for (const auto& [a, b, match] : cases) {
    EXPECT_EQ(detail::callbackURLsMatch(parsed(a), parsed(b)), match) << a << "  " << b;
    EXPECT_EQ(detail::callbackURLsMatch(parsed(b), parsed(a)), match) << b << "  " << a;
  }
}

const std::string callback =
    "myshop://done/callback?status=approved&message=Thank%20you&transaction_id=tx-0123456789";

TEST(Allocations, ParsingAURLAllocatesItsTextAlone) {
  EXPECT_EQ(allocationsOf([] { EXPECT_TRUE(URL::parse(callback).has_value()); }), 1U);
  std::string given = callback;
  const char* const buffer = given.data();
  EXPECT_EQ(allocationsOf([&] {
              const auto url = URL::parse(std::move(given));
              EXPECT_EQ(url->absoluteString().data(), buffer);
            }),
            0U);
}

TEST(Allocations, WalkingRawItemsAndMatchingPlainURLsAllocateNothing) {
  const auto url = URL::parse(callback);
  const auto place = URL::parse("MyShop://DONE/callback");
  std::size_t items = 0;
  EXPECT_EQ(allocationsOf([&] {
              for (const RawQueryItem& item : url->rawQueryItems()) items += item.value ? 1U : 0U;
              EXPECT_TRUE(detail::callbackURLsMatch(*url, *place));
            }),
            0U);
  EXPECT_EQ(items, 3U);
}

TEST(Allocations, ALinkOfAnyLengthIsOneAllocation) {
  for (const std::size_t length : {300U, 3'000U}) {
    const std::string notes(length, '&');
    EXPECT_EQ(allocationsOf([&] {
                const LinkItem item{"notes", notes};
                const auto link = writeLink(LinkTarget("tilvanego", "payment", "/v1/start"), {&item, 1});
                EXPECT_EQ(link->absoluteString().size(), 28 + 7 + 3 * length);
              }),
              1U);
  }
}

Text owned(std::optional<std::string_view> view) { return view ? Text(*view) : std::nullopt; }

Text textOf(const std::optional<URL>& url) { return url ? Text(url->absoluteString()) : std::nullopt; }

std::optional<Items> itemsOf(const VectorValue& value) {
  if (value.isNull()) return std::nullopt;
  Items items;
  for (const VectorValue& item : value.array()) items.push_back({item[0].text(), item[1].optionalText()});
  return items;
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
    expectComponents(parsed(url->absoluteString()), expected);
    EXPECT_EQ(*url, parsed(expected["rebuilt"].text()));
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
    const Items items{{"a", "b"}};
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
    EXPECT_EQ(link.queryItems(), (Items{{"k", text}}));
    EXPECT_EQ(named.queryItems(), (Items{{text, "v"}}));
    const URLComponents components{"x", "y", "/z", Items{{"k", text}}};
    EXPECT_EQ(components.url(), link);
  }
}

}  // namespace
}  // namespace tilvanego
