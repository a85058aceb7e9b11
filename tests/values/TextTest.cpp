#include <tilvanego/values/DebugLiteral.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/UTF8.h>

#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

using namespace std::string_view_literals;

TEST(Text, MapsCaseAndTrimsAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("case-mapping.json", 20)) {
    const std::string& text = c["text"].text();
    EXPECT_EQ(uppercased(text), c["upper"].text()) << text;
    EXPECT_EQ(lowercased(text), c["lower"].text()) << text;
    EXPECT_EQ(trimmed(text), c["trimmed"].text()) << text;
  }
}

TEST(Text, TrimsExactlyTheCharactersOfTheSet) {
  std::set<char32_t> set;
  const auto file = test::vectorFile("character-sets.json");
  for (const auto& range : file["whitespaceAndNewlines"].array()) {
    for (auto c = range[0].integer(); c <= range[1].integer(); ++c) set.insert(static_cast<char32_t>(c));
  }
  ASSERT_EQ(set.size(), 26U);
  for (char32_t scalar = 0; scalar <= 0xFFFF; scalar += scalar == 0xD7FF ? 0x801 : 1) {
    std::string text;
    detail::appendScalar(text, scalar);
    text = text + "a" + text;
    ASSERT_EQ(trimmed(text), set.contains(scalar) ? "a" : text) << static_cast<std::uint32_t>(scalar);
  }
}

TEST(Text, ComparesWithoutCaseAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("case-insensitive.json", 21)) {
    const std::string& a = c["a"].text();
    const std::string& b = c["b"].text();
    EXPECT_EQ(equalIgnoringCase(a, b), c["same"].boolean()) << a << " and " << b;
    EXPECT_EQ(equalIgnoringCase(b, a), c["same"].boolean()) << b << " and " << a;
    EXPECT_EQ(caseFolded(a) == caseFolded(b), c["same"].boolean()) << a << " and " << b;
  }
}

TEST(Text, ComparesAlikeWhereverTheFirstCharacterBeyondASCIIStands) {
  constexpr std::array same{
      std::pair{"Kelvin \u212A"sv, "KELVIN k"sv}, std::pair{"stra\u00DFe"sv, "STRASSE"sv},
      std::pair{"a\u0323\u0301"sv, "A\u0301\u0323"sv}, std::pair{"\uFB01n\u00C9"sv, "FINe\u0301"sv}};
  for (const auto& [a, b] : same) {
    EXPECT_TRUE(equalIgnoringCase(a, b)) << a;
    EXPECT_EQ(caseFolded(a), caseFolded(b)) << a;
  }
  EXPECT_FALSE(equalIgnoringCase("a", "a\u0301"));
  EXPECT_FALSE(equalIgnoringCase("a\u0301", "b\u0301"));
  EXPECT_FALSE(equalIgnoringCase("id\u0301", "id"));
}

// Overlong, surrogate, beyond the last plane, cut short, stray continuation, never a byte of UTF-8.
constexpr std::array illFormed{"\xC0\xAF"sv, "\xE0\x80\x80"sv,    "\xED\xA0\x80"sv, "\xF4\x90\x80\x80"sv,
                               "\xE2\x82"sv, "\xF0\x9F\x8D"sv,    "\x80"sv,         "\xFF"sv,
                               "\xC3"sv,     "\xF5\x80\x80\x80"sv};

TEST(Text, KeepsIllFormedBytesAsTheyAre) {
  for (const auto bad : illFormed) {
    const std::string text = "aB\u00E9" + std::string(bad) + "\u00C9z";
    EXPECT_FALSE(isValidUTF8(bad));
    EXPECT_FALSE(isValidUTF8(text));
    EXPECT_FALSE(isValidUTF8(std::string(64, 'a') + text));
    EXPECT_EQ(uppercased(text), "AB\u00C9" + std::string(bad) + "\u00C9Z");
    EXPECT_EQ(lowercased(text), "ab\u00E9" + std::string(bad) + "\u00E9z");
    EXPECT_EQ(trimmed(bad), bad);
    EXPECT_EQ(trimmed(" " + std::string(bad) + " "), bad);
    EXPECT_TRUE(equalIgnoringCase("K" + std::string(bad), "k" + std::string(bad)));
    EXPECT_FALSE(equalIgnoringCase("\u00C9" + std::string(bad), "\u00E9" + std::string(bad)));
    EXPECT_FALSE(equalIgnoringCase(bad, "\uFFFD"));
    EXPECT_NE(caseFolded(bad), caseFolded("\uFFFD"));
    EXPECT_EQ(caseFolded("K" + std::string(bad)), "k" + std::string(bad));
    EXPECT_GE(characterCount(text), 5U);
  }
}

TEST(Text, AcceptsUTF8UpToItsEdges) {
  EXPECT_TRUE(isValidUTF8(""));
  EXPECT_TRUE(isValidUTF8("\0\x7F"sv));
  EXPECT_TRUE(isValidUTF8("\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"));
  EXPECT_TRUE(isValidUTF8(std::string(31, 'a') + "\u00E9" + std::string(31, 'a')));
}

TEST(Text, CountsCharactersAsTheReaderSeesThem) {
  for (const auto& c : test::vectorCases("grapheme-counts.json", 19)) {
    EXPECT_EQ(characterCount(c["text"].text()), static_cast<std::size_t>(c["count"].integer()))
        << c["text"].text();
  }
  EXPECT_EQ(characterCount("\r\n\r\r\n\n"), 4U);
}

TEST(DebugLiteral, EscapesAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("debug-literals.json", 42)) {
    EXPECT_EQ(debugLiteral(c["text"].text()), c["literal"].text());
  }
}

TEST(DebugLiteral, EscapesMarksThatWouldJoinItsOwnSyntax) {
  EXPECT_EQ(debugLiteral("\n\u0301\u0302x\u0303"), R"("\n\u{0301}\u{0302}x)"
                                                   "\u0303\"");
  EXPECT_EQ(debugLiteral("\x01\u200D"), R"("\u{01}\u{200D}")");
  EXPECT_EQ(debugLiteral("\U0001F3FD"), R"("\u{0001F3FD}")");
  EXPECT_EQ(debugLiteral("\0\x7F"sv), R"("\0\u{7F}")");
}

TEST(DebugLiteral, ReplacesEachIllFormedSequenceOnce) {
  EXPECT_EQ(debugLiteral("a\xE2\x82z"), "\"a\uFFFDz\"");
  EXPECT_EQ(debugLiteral("\xF0\x80\x80"), "\"\uFFFD\uFFFD\uFFFD\"");
  EXPECT_EQ(debugLiteral("\xF4\x8F\xBF\"\xFF"), "\"\uFFFD\\\"\uFFFD\"");
  for (const auto bad : illFormed) EXPECT_TRUE(isValidUTF8(debugLiteral(bad)));
}

}  // namespace
}  // namespace tilvanego
