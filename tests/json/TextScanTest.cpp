#include <tilvanego/json/TextScan.h>

#include "tests/support/ScannedTexts.h"
#include "tests/support/Test.h"

namespace tilvanego::json::detail {
namespace {

std::size_t plainRun(std::string_view text, std::string_view ends) {
  const auto isEnd = [ends](char c) { return (c & 0xFF) < 0x20 || (c & 0xFF) >= 0x80 || ends.contains(c); };
  return static_cast<std::size_t>(std::ranges::find_if(text, isEnd) - text.begin());
}

TEST(TextScan, RunsAreThoseOfThePlainLoop) {
  test::forScannedTexts([](std::string_view text) {
    const char* const end = text.data() + text.size();
    const auto offset = [&](const char* at) { return static_cast<std::size_t>(at - text.data()); };
    ASSERT_EQ(offset(endOfPlainText<TextEnds::reading>(text.data(), end)), plainRun(text, "\"\\"));
    ASSERT_EQ(offset(endOfPlainText<TextEnds::writing>(text.data(), end)), plainRun(text, "\"\\/"));
    std::vector<char> copy(text.size() + 1, '#');
    const bool plain = plainRun(text, "\"\\/") == text.size();
    ASSERT_EQ(copyPlainText(text.data(), text.size(), copy.data()), plain);
    if (!plain) return;
    ASSERT_EQ(std::string_view(copy.data(), copy.size()), std::string(text) + '#');
  });
}

}  // namespace
}  // namespace tilvanego::json::detail
