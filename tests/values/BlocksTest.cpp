#include <tilvanego/values/Blocks.h>
#include <tilvanego/values/CharacterRuns.h>
#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/UTF8.h>

#include "tests/support/ScannedTexts.h"
#include "tests/support/Test.h"

namespace tilvanego::detail {
namespace {

std::size_t plainEndOfAllowed(std::string_view text, CharacterClass allowed) {
  std::size_t at = 0;
  while (at < text.size()) {
    const bool escapes = text[at] == '%' && at + 2 < text.size() && std::isxdigit(text[at + 1] & 0xFF) != 0 &&
                         std::isxdigit(text[at + 2] & 0xFF) != 0;
    if (!escapes && !belongs(text[at], allowed)) break;
    at += escapes ? 3 : 1;
  }
  return at;
}

template <CharacterClass Class>
void expectPlainScansOf(std::string_view text) {
  const char* const end = text.data() + text.size();
  const auto offset = [&](const char* at) { return static_cast<std::size_t>(at - text.data()); };
  const auto outside = [](char c) { return !belongs(c, Class); };
  ASSERT_EQ(offset(endOfRun(text.data(), end, Class)),
            static_cast<std::size_t>(std::ranges::find_if(text, outside) - text.begin()));
  ASSERT_EQ(offset(endOfAllowed<Class>(text.data(), end)), plainEndOfAllowed(text, Class));
  ASSERT_EQ(percentEncodedSize(text, Class),
            text.size() + 2 * static_cast<std::size_t>(std::ranges::count_if(text, outside)));
  std::string encoded = "before";
  appendPercentEncoded(encoded, text, Class);
  ASSERT_EQ(encoded.size(), 6 + percentEncodedSize(text, Class));
  const auto whole = isValidUTF8(text) ? std::optional("before" + std::string(text)) : std::nullopt;
  ASSERT_EQ(percentDecoded(encoded), whole);
}

TEST(Blocks, ScansOfClassesAreThoseOfThePlainLoop) {
  test::forScannedTexts([](std::string_view text) {
    using enum CharacterClass;
    expectPlainScansOf<schemeTail>(text);
    expectPlainScansOf<host>(text);
    expectPlainScansOf<path>(text);
    expectPlainScansOf<query>(text);
    expectPlainScansOf<queryItem>(text);
    expectPlainScansOf<alphanumeric>(text);
  });
}

std::optional<std::string> plainDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      decoded += text[at];
      continue;
    }
    if (plainEndOfAllowed(text.substr(at, 3), CharacterClass{}) != 3) return std::nullopt;
    decoded += static_cast<char>(std::stoi(std::string(text.substr(at + 1, 2)), nullptr, 16));
    at += 2;
  }
  for (std::size_t at = 0; at < decoded.size();) {
    const auto scalar = decodeScalar(decoded, at);
    if (!scalar.wellFormed) return std::nullopt;
    at += scalar.length;
  }
  return decoded;
}

TEST(Blocks, FindsAndDecodesWhatThePlainLoopDoes) {
  test::forScannedTexts([](std::string_view text) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    ASSERT_EQ(findMarked(begin, end, [](auto bytes) { return bytes == '='; }), std::find(begin, end, '='));
    const auto beyond = std::find_if(begin, end, [](char c) { return (c & 0x80) != 0; });
    ASSERT_EQ(asciiPrefixLength(text), static_cast<std::size_t>(beyond - begin));
    ASSERT_EQ(percentDecoded(text), plainDecoded(text)) << text;
  });
}

}  // namespace
}  // namespace tilvanego::detail
