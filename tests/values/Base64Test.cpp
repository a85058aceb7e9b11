#include <tilvanego/values/Base64.h>

#include "tests/support/Test.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

std::optional<std::string> hexadecimal(const std::optional<Bytes>& bytes) {
  if (!bytes) return std::nullopt;
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : *bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

// Every byte value, at every place in a group.
Bytes sample(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  return bytes;
}

TEST(Base64, DecodesAsStrictlyAsThePlatform) {
  for (const auto& c : test::vectorCases("base64.json", 27)) {
    EXPECT_EQ(hexadecimal(base64Decode(c["text"].text())), c["bytes"].optionalText()) << c["text"].text();
  }
}

// The test vectors of RFC 4648, section 10.
TEST(Base64, EncodesWithPaddingAndForURLsWithout) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 8> cases{{{"", ""},
                                                                                {"f", "Zg=="},
                                                                                {"fo", "Zm8="},
                                                                                {"foo", "Zm9v"},
                                                                                {"foob", "Zm9vYg=="},
                                                                                {"fooba", "Zm9vYmE="},
                                                                                {"foobar", "Zm9vYmFy"},
                                                                                {"\xFB\xEF\xFF", "++//"}}};
  for (const auto& [plain, text] : cases) {
    EXPECT_EQ(base64Encode(bytesOf(plain)), text);
    std::string forURLs(text.substr(0, text.find('=')));
    std::ranges::replace(forURLs, '+', '-');
    std::ranges::replace(forURLs, '/', '_');
    EXPECT_EQ(base64URLEncode(bytesOf(plain)), forURLs);
  }
}

TEST(Base64, DecodesWhatItEncodesAtEveryLength) {
  for (std::size_t size = 0; size < 1030; ++size) {
    const Bytes bytes = sample(size);
    ASSERT_EQ(base64Decode(base64Encode(bytes)), bytes) << size;
    ASSERT_EQ(base64URLDecode(base64URLEncode(bytes)), bytes) << size;
  }
}

TEST(Base64, FindsOneWrongCharacterAnywhere) {
  const std::string text = base64Encode(sample(48));
  const std::string urlText = base64URLEncode(sample(47));
  const auto spoiled = [](std::string whole, std::size_t at, char c) {
    whole[at] = c;
    return whole;
  };
  for (const char c : {'=', ' ', '\n', '\0', '\x80', '\xFF', '.'}) {
    // At the last place "=" may be padding.
    for (std::size_t at = 0; at + 1 < urlText.size(); ++at) {
      EXPECT_FALSE(base64Decode(spoiled(text, at, c))) << at;
      EXPECT_FALSE(base64URLDecode(spoiled(urlText, at, c))) << at;
    }
  }
}

TEST(Base64, AddsMissingPaddingForURLsAlone) {
  EXPECT_EQ(hexadecimal(base64URLDecode("YQ")), "61");
  EXPECT_EQ(hexadecimal(base64URLDecode("YQ=")), "61");
  EXPECT_EQ(hexadecimal(base64URLDecode("YQ==")), "61");
  EXPECT_EQ(hexadecimal(base64URLDecode("YWI")), "6162");
  EXPECT_EQ(hexadecimal(base64URLDecode("-_+/")), "fbffbf");
  for (const auto refused : {"Y", "YWJjY", "=", "==", "===", "====", "YQ===", "YWJj=", "YWJj==", "YWJj====",
                             "Y===", "YQ=A", "YQ\u00E9", "YQ==YQ=="}) {
    EXPECT_EQ(hexadecimal(base64URLDecode(refused)), std::nullopt) << refused;
  }
}

}  // namespace
}  // namespace tilvanego
