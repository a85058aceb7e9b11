#include <tilvanego/values/LinkWriter.h>

#include "tests/support/Test.h"

namespace tilvanego {
namespace {

constexpr LinkTarget start("tilvanego", "payment", "/v1/start");

URL linkOf(const std::vector<LinkItem>& items) { return writeLink(start, items).value(); }

TEST(WriteLink, GivesTheURLThatItsTextIs) {
  for (const std::vector<LinkItem>& items :
       {std::vector<LinkItem>{},
        {{"value", "a+b c&d"}, {"empty", ""}, {"return_url", "x://y?a=%1&b=\u00E9"}}}) {
    const URL link = linkOf(items);
    const auto read = URL::parse(link.absoluteString());
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(link.scheme(), read->scheme());
    EXPECT_EQ(link.writtenHost(), read->writtenHost());
    EXPECT_EQ(link.encodedPath(), read->encodedPath());
    EXPECT_EQ(link.encodedQuery(), read->encodedQuery());
    EXPECT_EQ(link.port(), std::nullopt);
    EXPECT_EQ(link.fragment(), std::nullopt);
    EXPECT_EQ(link.queryItems(), read->queryItems());
    EXPECT_EQ(link.queryItems().has_value(), !items.empty());
  }
}

std::string escaped(std::string_view text) {
  constexpr std::string_view kept =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$'()*+,;:@/?";
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string out;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (kept.contains(character)) {
      out += character;
    } else {
      out += {'%', digits[byte / 16], digits[byte % 16]};
    }
  }
  return out;
}

TEST(WriteLink, EscapesEachByteOutsideTheUnescapedSetWhereverItStands) {
  for (int byte = 0; byte < 256; ++byte) {
    for (std::size_t length = 1; length < 40; length += 3) {
      std::string text(length, 'x');
      text[static_cast<std::size_t>(byte) % length] = static_cast<char>(byte);
      EXPECT_EQ(linkOf({{"k", text}}).absoluteString(), "tilvanego://payment/v1/start?k=" + escaped(text));
    }
  }
}

TEST(WriteLink, IsTheSameBelowAndBeyondItsBuffer) {
  for (std::size_t length = 600; length < 720; ++length) {
    const std::string text = std::string(length, '&') + "tail";
    EXPECT_EQ(linkOf({{"k", text}, {"l", "v"}}).absoluteString(),
              "tilvanego://payment/v1/start?k=" + escaped(text) + "&l=v");
  }
}

}  // namespace
}  // namespace tilvanego
