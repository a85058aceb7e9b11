#include <tilvanego/http_client/PatternAutomaton.h>
#include <tilvanego/http_client/PatternParser.h>
#include <tilvanego/http_client/PatternSearch.h>

#include <gtest/gtest.h>
#include <unicode/uregex.h>

#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tilvanego::detail {
namespace {

using Answer = PatternAutomaton::Answer;

/// What ICU says of ASCII alone; nothing if the pattern isn't valid, or if ICU gave up.
class ICU {
 public:
  explicit ICU(const std::string& pattern) : pattern_(pattern.begin(), pattern.end()) {
    regex_ = uregex_open(pattern_.data(), static_cast<int>(pattern_.size()), UREGEX_CASE_INSENSITIVE, nullptr,
                         &status_);
    uregex_setTimeLimit(regex_, 100, &status_);
  }
  ~ICU() { uregex_close(regex_); }
  ICU(const ICU&) = delete;
  ICU& operator=(const ICU&) = delete;

  bool isValid() const { return U_SUCCESS(status_); }
  std::optional<bool> isFoundIn(const std::string& text) const {
    UErrorCode status = U_ZERO_ERROR;
    const std::u16string wide(text.begin(), text.end());
    uregex_setText(regex_, wide.data(), static_cast<int>(wide.size()), &status);
    const bool isFound = uregex_find(regex_, 0, &status) != 0;
    return U_SUCCESS(status) ? std::optional(isFound) : std::nullopt;
  }

 private:
  std::u16string pattern_;
  UErrorCode status_ = U_ZERO_ERROR;
  URegularExpression* regex_ = nullptr;
};

class Dice {
 public:
  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(engine_() % limit); }
  std::string text(std::size_t longest, const std::vector<std::string>& parts) {
    std::string made;
    for (std::size_t left = below(longest + 1); left > 0; --left) made += parts[below(parts.size())];
    return made;
  }

 private:
  std::mt19937 engine_{20240305};
};

TEST(PatternAutomaton, FindsWhatICUFindsWhateverPatternAndText) {
  const std::vector<std::string> patternParts = {
      "a",    "B",     "/",      "1",     " ",        "\n",     ".",   "^",     "$",     "(",     ")",
      "(?:",  "|",     "?",      "*",     "+",        "??",     "{2}", "{1,}",  "{0,2}", "{2,3}", "[ab]",
      "[^a]", "[A-z]", "[a-c-]", "[-a]",  "[z-_\\s]", "[\\d.]", "\\d", "\\w",   "\\s",   "\\.",   "\\/",
      "\\n",  "\\$",   "[a/]?",  "(a|b)", "(?i)",     "x{3}",   "\\b", "[$^|]", "a+"};
  const std::vector<std::string> textParts = {"a",  "A",    "b",  "c",  "z",  "1", "/", " ",
                                              "_",  "-",    ".",  "^",  "$",  "[", "`", "\n",
                                              "\r", "\r\n", "\v", "\f", "\t", "{", "|", std::string(1, '\0')};
  Dice dice;
  std::size_t compared = 0;
  for (int round = 0; round < 6000; ++round) {
    const std::string pattern = dice.text(7, patternParts);
    const auto graph = parsePattern(pattern);
    if (!graph) continue;
    const ICU icu(pattern);
    if (!icu.isValid()) continue;
    PatternAutomaton automaton(*graph);
    for (int i = 0; i < 25; ++i) {
      const std::string text = dice.text(6, textParts);
      const auto expected = icu.isFoundIn(text);
      if (!expected) continue;
      ++compared;
      ASSERT_EQ(automaton.search(text), *expected ? Answer::found : Answer::notFound)
          << testing::PrintToString(pattern) << " in " << testing::PrintToString(text);
    }
  }
  EXPECT_GT(compared, 20'000u);
}

TEST(PatternAutomaton, TellsEveryASCIICharacterAsICUDoes) {
  const std::string patterns[] = {"^\\d$",           "^\\w$", "^\\s$",     "^.$",     "^[A-z]$",
                                  "^[a-zA-z-_\\s]$", "^[^]$", "^k$",       "^[!-~]$", "^[\\w.\\-]$",
                                  "^[$\\]\\\\]$",    "a$",    "^\\t|\\r$", "^[ -0]$", "^[#'\",]$"};
  for (const std::string& pattern : patterns) {
    const auto graph = parsePattern(pattern);
    const ICU icu(pattern);
    if (pattern == "^[^]$") {
      EXPECT_FALSE(graph);
      continue;
    }
    ASSERT_TRUE(graph && icu.isValid()) << pattern;
    PatternAutomaton automaton(*graph);
    for (char c = 0; c >= 0 && c < 127; ++c) {
      for (const std::string& text : {std::string(1, c), std::string("a") + c, std::string("a\r") + c}) {
        EXPECT_EQ(automaton.search(text) == Answer::found, icu.isFoundIn(text))
            << pattern << " in " << testing::PrintToString(text);
      }
    }
  }
}

TEST(PatternAutomaton, KnowsThePatternsOfTheModels) {
  for (const char* pattern : {R"(/^\d{1,9}\.?\d{0,2}$/)", R"(/^[0-9a-zA-z-_\s]{1,100}$/)", R"(/\+\d{6,16}$/)",
                              R"(/^#?([A-Fa-f0-9]{3}|[A-Fa-f0-9]{4}|[A-Fa-f0-9]{6}|[A-Fa-f0-9]{8})$/)"}) {
    EXPECT_TRUE(parsePattern(pattern)) << pattern;
  }
}

TEST(PatternAutomaton, LeavesTheRestToICU) {
  for (const char* pattern :
       {"(?=a)", "(?i)a",     "a*+",           "(a)\\1", "\\bx", "[^a]", "é",  "[a&&b]", "[[a]b]", "\\x41",
        "(a?)*", "a{1,2000}", "(a{900}){900}", "^*",     "a{",   "\\",   "[a", "(",      "\\p{L}", "a{0}"}) {
    EXPECT_FALSE(parsePattern(pattern)) << pattern;
  }
  EXPECT_FALSE(parsePattern(std::string(100'000, '(')));
  EXPECT_FALSE(parsePattern(std::string(100'000, 'a')));
  PatternAutomaton automaton(*parsePattern("^a+$"));
  EXPECT_EQ(automaton.search("aé"), Answer::unknown);
  EXPECT_EQ(automaton.search("bé"), Answer::notFound) << "what follows doesn't matter any more";
}

TEST(PatternAutomaton, NeedsNoMoreTimeForALongTextThanItsLength) {
  const std::string many(2'000'000, 'a');
  for (const char* pattern : {"^(a+)+$", "(a|a)*b", "^(a|b)*$", "a*a*a*a*b"}) {
    PatternAutomaton automaton(*parsePattern(pattern));
    EXPECT_NE(automaton.search(many), Answer::unknown) << pattern;
  }
  // A pattern whose table would have 2^21 states.
  PatternAutomaton automaton(*parsePattern("(a|b)*a(a|b){20}c"));
  Dice dice;
  EXPECT_EQ(automaton.search(dice.text(40'000, {"a", "b"}) + "aabb"), Answer::unknown);
  EXPECT_TRUE(isPatternFound("(a|b)*a(a|b){20}c", "a" + std::string(20, 'b') + "c"));
}

}  // namespace
}  // namespace tilvanego::detail
