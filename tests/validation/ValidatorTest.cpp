#include <atomic>
#include <concepts>

#include <tilvanego/validation/Validator.h>

#include "tests/support/Threads.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

using Text = StringValidationErrorKind;
using Number = NumericValidationErrorKind;
using List = ArrayValidationErrorKind;

/// A value, and what it breaks of a rule.
template <typename Value, typename Rule, typename Kind>
struct Row {
  Value value;
  Rule rule;
  KindSet<Kind> broken;
};

TEST(ValidatorOfTexts, SearchesEveryPatternAsTheCaseFileSays) {
  for (const auto& one : test::vectorCases("patterns.json", 624)) {
    const std::string& pattern = one["pattern"].text();
    const bool isFound = one["compiles"].boolean() && one["found"].boolean();
    EXPECT_EQ(Validator::check(one["text"].text(), StringRule{.pattern = pattern}).empty(), isFound)
        << pattern << " in " << one["text"].text();
  }
}

TEST(ValidatorOfTexts, CountsCharactersAsTheCaseFileSays) {
  for (const auto& one : test::vectorCases("grapheme-counts.json", 19)) {
    const auto count = static_cast<std::size_t>(one["count"].integer());
    const std::string& text = one["text"].text();
    EXPECT_TRUE(Validator::check(text, StringRule{.minLength = count, .maxLength = count}).empty()) << text;
    EXPECT_EQ(Validator::check(text, StringRule{.minLength = count + 1}), KindSet{Text::minLength}) << text;
    if (count == 0) continue;
    EXPECT_EQ(Validator::check(text, StringRule{.maxLength = count - 1}), KindSet{Text::maxLength}) << text;
  }
}

TEST(ValidatorOfTexts, ReportsEverythingThatIsBroken) {
  const Row<std::string, StringRule, Text> rows[] = {
      {"", {}, {}},
      {"abcd", {.maxLength = 3, .pattern = "^\\d+$"}, {Text::maxLength, Text::pattern}},
      {"", {.minLength = 1, .maxLength = 3, .pattern = "a"}, {Text::minLength, Text::pattern}},
      {"ab",
       {.minLength = 3, .maxLength = 1, .pattern = "("},
       {Text::minLength, Text::maxLength, Text::pattern}},
      {"a\nb", {.pattern = "^b"}, {Text::pattern}},
      {std::string("a\0b", 3), {.pattern = "\\x{0}b"}, {}},
      {"a\xFF", {.maxLength = 2, .pattern = "a\\x{FFFD}$"}, {}},
      {"a\xFF", {.pattern = "a\xFF"}, {}},
  };
  for (const auto& row : rows) EXPECT_EQ(Validator::check(row.value, row.rule), row.broken) << row.value;
}

TEST(ValidatorOfTexts, GivesUpASearchThatWouldNotEnd) {
  const std::string letters(40, 'a');
  const std::pair<std::string_view, std::string_view> rows[] = {
      {"^(a+)+$", "b"}, {"^(a+)+$", "é"},          {"(?=a)(a|a)*b", ""},
      {"(a*)*c", "b"},  {R"((\w+\s?)+\.$)", "ü!"}, {"^(([a-z])+.)+[A-Z0-9]+!$", "ß?"},
  };
  for (const auto& [pattern, end] : rows) {
    const std::string text = letters + std::string(end);
    EXPECT_EQ(Validator::check(text, StringRule{.pattern = pattern}), KindSet{Text::pattern}) << pattern;
  }
  const std::string many = std::string(200'000, 'a') + "é";
  EXPECT_EQ(Validator::check(many, StringRule{.pattern = "a*b"}), KindSet{Text::pattern});
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(Validator::check(many, StringRule{.maxLength = 200'001, .pattern = "^[a-z]+é$"}).empty());
    EXPECT_TRUE(Validator::check(many.substr(180'000), StringRule{.pattern = "^(a|é)+$"}).empty())
        << "many steps aren't too many";
  }
  EXPECT_EQ(Validator::check(letters + "é", StringRule{.pattern = "^(a+)+$"}), KindSet{Text::pattern});
}

TEST(ValidatorOfTexts, GivesTheValueBackOrThrowsWhatIsBroken) {
  const StringRule rule{.maxLength = 3, .pattern = "^\\d+$"};
  EXPECT_EQ(Validator::validate("123", rule), "123");
  const std::string digits = "123";
  const auto view = std::string_view(digits).substr(1);
  static_assert(std::same_as<decltype(Validator::validate(view, rule)), std::string_view>);
  EXPECT_EQ(Validator::validate(view, rule).data(), view.data()) << "the view itself, not a copy";
  EXPECT_THROW(Validator::validate(std::string_view("x"), rule), ValidationError<Text>);
  try {
    Validator::validate(std::string("abcd"), rule);
    FAIL() << "nothing was thrown";
  } catch (const ValidationError<Text>& error) {
    EXPECT_EQ(error.kinds, (KindSet{Text::maxLength, Text::pattern}));
    EXPECT_EQ(error.description(), "the value breaks maxLength, pattern");
  }
}

TEST(ValidatorOfNumbers, ChecksLimitsAndDivisors) {
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  const Row<std::int64_t, NumericRule<std::int64_t>, Number> rows[] = {
      {5, {.minimum = 5}, {}},
      {5, {.minimum = 5, .exclusiveMinimum = true}, {Number::minimum}},
      {6, {.minimum = 5, .exclusiveMinimum = true}, {}},
      {5, {.maximum = 5, .exclusiveMaximum = true}, {Number::maximum}},
      {5, {.exclusiveMinimum = true, .exclusiveMaximum = true}, {}},
      {-9, {.multipleOf = 3}, {}},
      {0, {.multipleOf = 0}, {}},
      {1, {.multipleOf = 0}, {Number::multipleOf}},
      {least, {.multipleOf = -1}, {}},
      {5,
       {.minimum = 6, .maximum = 4, .multipleOf = 2},
       {Number::minimum, Number::maximum, Number::multipleOf}},
  };
  for (const auto& row : rows) EXPECT_EQ(Validator::check(row.value, row.rule), row.broken) << row.value;

  static constexpr NumericRule<std::uint8_t> byFives{.multipleOf = 5};
  static constexpr NumericRule<std::int64_t> atMostSeven{.maximum = 7};
  EXPECT_TRUE(Validator::check(std::uint8_t{255}, byFives).empty());
  EXPECT_EQ(Validator::validate(7, atMostSeven), 7);
  EXPECT_THROW(Validator::validate(8, atMostSeven), ValidationError<Number>);
}

TEST(ValidatorOfNumbers, ChecksFloatsWithoutTolerance) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Row<double, NumericRule<double>, Number> rows[] = {
      {0.3, {.multipleOf = 0.1}, {Number::multipleOf}},
      {0.75, {.multipleOf = 0.25}, {}},
      {5.0, {.multipleOf = 3.0}, {Number::multipleOf}},
      {0.0, {.multipleOf = 0.0}, {Number::multipleOf}},
      {infinity, {.maximum = 1.0, .multipleOf = 1.0}, {Number::maximum, Number::multipleOf}},
      {nan, {.minimum = 0.0, .maximum = 1.0, .exclusiveMaximum = true}, {}},
      {nan, {.multipleOf = 1.0}, {Number::multipleOf}},
      {0.5, {.minimum = 0.5, .exclusiveMinimum = true, .maximum = 0.5}, {Number::minimum}},
  };
  for (const auto& row : rows) EXPECT_EQ(Validator::check(row.value, row.rule), row.broken) << row.value;
  static constexpr NumericRule<float> atMostOne{.maximum = 1.0F};
  EXPECT_THROW(Validator::validate(2.0F, atMostOne), ValidationError<Number>);
}

template <typename Value, typename Rule>
concept CanCheck = requires(Value value, Rule rule) { Validator::check(value, rule); };
static_assert(CanCheck<int, NumericRule<std::int64_t>>);
static_assert(!CanCheck<double, NumericRule<std::int64_t>>, "a fraction would be lost");
static_assert(!CanCheck<std::int64_t, NumericRule<int>>);
static_assert(!CanCheck<bool, NumericRule<int>>);

TEST(ValidatorOfLists, ChecksCountsAndUniqueness) {
  const Row<std::vector<std::string>, ArrayRule, List> rows[] = {
      {{}, {}, {}},
      {{"a", "b"}, {.minItems = 2, .maxItems = 2, .uniqueItems = true}, {}},
      {{"a", "b", "a"}, {.uniqueItems = true}, {List::uniqueItems}},
      {{"a", "a"}, {}, {}},
      {{"a", "a"},
       {.minItems = 3, .maxItems = 1, .uniqueItems = true},
       {List::minItems, List::maxItems, List::uniqueItems}},
  };
  for (const auto& row : rows) EXPECT_EQ(Validator::check(row.value, row.rule), row.broken);

  EXPECT_EQ(Validator::check(std::vector{true, true}, ArrayRule{.uniqueItems = true}),
            KindSet{List::uniqueItems});
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(Validator::check(std::vector{nan, nan}, ArrayRule{.uniqueItems = true}).empty())
      << "what isn't equal to itself is never a repetition";
  EXPECT_EQ(Validator::validate(std::vector{1, 2}, ArrayRule{.maxItems = 2}), (std::vector{1, 2}));
  EXPECT_THROW(Validator::validate(std::vector{1, 1}, ArrayRule{.uniqueItems = true}), ValidationError<List>);
}

TEST(Validator, KeepsToThePatternAmongMoreThanAThreadKeeps) {
  std::atomic<int> wrong = 0;
  test::inThreads(4, [&wrong](int thread) {
    for (int round = 0; round < 240; ++round) {
      const std::string digits = std::to_string(round % 80 + thread);
      const std::string pattern = "^" + digits + "$";
      const StringRule rule{.minLength = 1, .pattern = pattern};
      if (!Validator::check(digits, rule).empty()) ++wrong;
      if (Validator::check("x" + digits, rule).empty()) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace tilvanego
