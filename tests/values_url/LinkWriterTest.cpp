#include <tilvanego/values/LinkWriter.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tilvanego {
namespace {

constexpr LinkTarget start("tilvanego", "payment", "/v1/start");

TEST(LinkWriter, GivesTheURLThatItsTextIs) {
  LinkWriter writer(start);
  writer.item("value", "a+b c&d").item("empty", "").item("bare").item("return_url", "x://y?a=%1&b=\u00E9");
  const URL link = std::move(writer).finish();
  EXPECT_EQ(
      link.absoluteString(),
      "tilvanego://payment/v1/start?value=a+b%20c%26d&empty=&bare&return_url=x://y?a%3D%251%26b%3D%C3%A9");

  const auto read = URL::parse(link.absoluteString());
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(link.scheme(), read->scheme());
  EXPECT_EQ(link.writtenHost(), read->writtenHost());
  EXPECT_EQ(link.encodedPath(), read->encodedPath());
  EXPECT_EQ(link.encodedQuery(), read->encodedQuery());
  EXPECT_EQ(link.port(), std::nullopt);
  EXPECT_EQ(link.fragment(), std::nullopt);
  EXPECT_EQ(link.queryItems(), (std::vector<QueryItem>{{"value", "a+b c&d"},
                                                       {"empty", ""},
                                                       {"bare", std::nullopt},
                                                       {"return_url", "x://y?a=%1&b=\u00E9"}}));
}

TEST(LinkWriter, WritesALinkWithoutItemsWithoutAQuestionMark) {
  const URL link = LinkWriter(start).finish();
  EXPECT_EQ(link.absoluteString(), "tilvanego://payment/v1/start");
  EXPECT_EQ(link.queryItems(), std::nullopt);
}

TEST(LinkWriter, EscapesEachByteOutsideTheUnescapedSet) {
  constexpr std::string_view kept =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$'()*+,;:@/?";
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto value = static_cast<std::size_t>(byte);
    const std::string escaped = {'%', digits[value / 16], digits[value % 16]};
    LinkWriter writer(start);
    writer.item("k", text);
    EXPECT_EQ(std::move(writer).finish().absoluteString(),
              "tilvanego://payment/v1/start?k=" + (kept.contains(text[0]) ? text : escaped));
  }
}

}  // namespace
}  // namespace tilvanego
