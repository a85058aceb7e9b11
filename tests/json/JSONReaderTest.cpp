#include <gtest/gtest.h>

#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>
#include <string>
#include <string_view>

namespace tilvanego {
namespace {

struct Refusal {
  std::string_view text;
  JSONFailure failure;
  std::size_t offset;
};

TEST(JSONReader, MalformedTextIsRefusedWithItsReasonAndPlace) {
  static constexpr Refusal refusals[] = {
      {"", JSONFailure::unexpectedEnd, 0},
      {"  [1", JSONFailure::unexpectedEnd, 4},
      {"[1,", JSONFailure::unexpectedEnd, 3},
      {R"({"a)", JSONFailure::unexpectedEnd, 3},
      {R"({"a" )", JSONFailure::unexpectedEnd, 5},
      {R"("\)", JSONFailure::unexpectedEnd, 2},
      {"[1,]", JSONFailure::unexpectedCharacter, 3},
      {"[1,,2]", JSONFailure::unexpectedCharacter, 3},
      {"[,1]", JSONFailure::unexpectedCharacter, 1},
      {R"({"a":1,})", JSONFailure::unexpectedCharacter, 7},
      {R"({"a" 1})", JSONFailure::unexpectedCharacter, 5},
      {R"({"a":1 "b":2})", JSONFailure::unexpectedCharacter, 7},
      {"[1}", JSONFailure::unexpectedCharacter, 2},
      {R"({"a":1])", JSONFailure::unexpectedCharacter, 6},
      {"trux", JSONFailure::unexpectedCharacter, 0},
      {"NaN", JSONFailure::unexpectedCharacter, 0},
      {"Infinity", JSONFailure::unexpectedCharacter, 0},
      {"+1", JSONFailure::unexpectedCharacter, 0},
      {".5", JSONFailure::unexpectedCharacter, 0},
      {"-", JSONFailure::invalidNumber, 0},
      {"[-a]", JSONFailure::invalidNumber, 1},
      {"5.e1", JSONFailure::invalidNumber, 0},
      {"1e+", JSONFailure::invalidNumber, 0},
      {"01", JSONFailure::trailingContent, 1},
      {"1 x", JSONFailure::trailingContent, 2},
      {std::string_view("1\0", 2), JSONFailure::trailingContent, 1},
      {"[\"a\nb\"]", JSONFailure::controlCharacter, 3},
      {"\"\\n\x1f\"", JSONFailure::controlCharacter, 3},
      {R"("ab\x")", JSONFailure::invalidEscape, 3},
      {R"("\u12g4")", JSONFailure::invalidEscape, 1},
      {R"("\ud800\n")", JSONFailure::invalidEscape, 1},
      {R"("\ud800\ud800")", JSONFailure::invalidEscape, 1},
      {"\"a\x80\"", JSONFailure::invalidUTF8, 2},
      {"\"\xE2\x82\"", JSONFailure::invalidUTF8, 1},
      {"\"\\n\xF0\x82\x82\xAC\"", JSONFailure::invalidUTF8, 3},
      {"1e309", JSONFailure::numberOutOfRange, 0},
  };
  for (const auto& [text, failure, offset] : refusals) {
    SCOPED_TRACE(text);
    const auto value = json::decode<JSONValue>(text);
    ASSERT_FALSE(value.has_value());
    EXPECT_EQ(value.error().failure, failure) << value.error().description();
    EXPECT_EQ(value.error().offset, offset);
  }
}

// What a record passes over is held to the same grammar as what it reads.
struct Empty {
  bool operator==(const Empty&) const = default;
  static constexpr auto jsonFields() { return json::fields(); }
};

TEST(JSONReader, SkippedValuesAreCheckedInFull) {
  for (const std::string_view bad : {"[1,,2]", "trux", "nul", "NaN", R"("\ud800")", R"({"a":})",
                                     R"({"a":1,"b"})", "01", "\"\xff\"", "[{]}", "[", "{\"a\":[1}", "-"}) {
    EXPECT_FALSE(json::decode<Empty>(R"({"unknown":)" + std::string(bad) + "}").has_value()) << bad;
  }
  for (const std::string_view good : {"[]", "{}", R"([{"a":[]},{"b":{}},null,true,-0.5e+3,"\u00e9\n"])",
                                      "1e400", R"( { "a" : [ 1 , 2 ] , "b" : { "c" : "" } } )"}) {
    EXPECT_TRUE(json::decode<Empty>(R"({"unknown":)" + std::string(good) + "}").has_value()) << good;
  }
}

TEST(JSONReader, TextsOfEveryLengthAndPlaceOfAnEscapeAreReadWhole) {
  for (std::size_t length = 0; length < 70; ++length) {
    const std::string plain(length, 'x');
    EXPECT_EQ(json::decode<std::string>('"' + plain + '"'), plain);
    for (std::size_t at = 0; at <= length; ++at) {
      const std::string before(at, 'a');
      const std::string after(length - at, 'b');
      EXPECT_EQ(json::decode<std::string>('"' + before + "\\t" + after + '"'), before + '\t' + after);
      EXPECT_EQ(json::decode<std::string>('"' + before + "\u20ac" + after + '"'), before + "\u20ac" + after);
      EXPECT_FALSE(json::decode<std::string>('"' + before + '\x1f' + after + '"').has_value());
      EXPECT_FALSE(json::decode<std::string>('"' + before + '\xff' + after + '"').has_value());
    }
  }
}

TEST(JSONReader, NestingIsRefusedBeyondTheLimit) {
  for (const auto& [opening, inner, closing] : {std::tuple("[", "1", "]"), std::tuple("{\"a\":", "1", "}")}) {
    const auto text = [&](std::size_t depth) {
      std::string whole;
      for (std::size_t i = 0; i < depth; ++i) whole += opening;
      whole += inner;
      for (std::size_t i = 0; i < depth; ++i) whole += closing;
      return whole;
    };
    EXPECT_TRUE(json::decode<JSONValue>(text(jsonDepthLimit)).has_value());
    EXPECT_EQ(json::decode<JSONValue>(text(jsonDepthLimit + 1)).error().failure, JSONFailure::tooDeep);
    const auto skipped = [&](std::size_t depth) {
      return json::decode<Empty>("{\"u\":" + text(depth) + "}");
    };
    EXPECT_TRUE(skipped(jsonDepthLimit - 1).has_value());
    EXPECT_EQ(skipped(jsonDepthLimit).error().failure, JSONFailure::tooDeep);
    EXPECT_EQ(skipped(1'000'000).error().failure, JSONFailure::tooDeep);
    EXPECT_EQ(json::decode<JSONValue>(text(1'000'000)).error().failure, JSONFailure::tooDeep);
  }
  EXPECT_EQ(json::decode<JSONValue>(std::string(1'000'000, '[')).error().failure, JSONFailure::tooDeep);
}

// Ten megabytes of each shape that a careless reader would take quadratic time for.
TEST(JSONReader, LargeTextsAreReadInOneGo) {
  constexpr std::size_t size = 10'000'000;
  EXPECT_EQ(json::decode<std::string>('"' + std::string(size, 'a') + '"')->size(), size);
  std::string escapes = "\"";
  for (std::size_t i = 0; i < size / 6; ++i) escapes += "\\u00e9";
  EXPECT_EQ(json::decode<std::string>(escapes + '"')->size(), size / 6 * 2);
  EXPECT_EQ(json::decode<double>("0." + std::string(size, '0') + "1e" + std::to_string(size + 1)), 1.0);
  EXPECT_FALSE(json::decode<double>(std::string(size, '9')).has_value());
  EXPECT_EQ(json::decode<std::int64_t>("1" + std::string(size, '0') + ".5").error().failure,
            JSONFailure::numberOutOfRange);
  std::string keys = "{";
  for (std::size_t i = 0; i < 500'000; ++i)
    keys += "\"k" + std::to_string(i % 250'000) + "\":" + std::to_string(i) + ",";
  const auto values = json::decode<std::map<std::string, int>>(keys + "\"last\":0}");
  ASSERT_TRUE(values.has_value());
  EXPECT_EQ(values->size(), 250'001u);
  EXPECT_EQ(values->at("k7"), 7);
  EXPECT_TRUE(json::decode<Empty>(keys + "\"last\":0}").has_value());
}

TEST(JSONReader, IntegersKeepAllTheirBitsAndTheirRange) {
  EXPECT_EQ(json::decode<std::int64_t>("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(json::decode<std::int64_t>("-9223372036854775808"), INT64_MIN);
  for (const char* beyond :
       {"9223372036854775808", "-9223372036854775809", "18446744073709551617", "100000000000000000000",
        "1e19", "9223372036854775807.0", "0.5", "1e-1", "1e999999999999"}) {
    const auto value = json::decode<std::int64_t>(beyond);
    ASSERT_FALSE(value.has_value()) << beyond;
    EXPECT_EQ(value.error().failure, JSONFailure::numberOutOfRange);
  }
  EXPECT_EQ(json::decode<std::int8_t>("-128"), std::int8_t{-128});
  EXPECT_EQ(json::decode<std::int8_t>("128").error().failure, JSONFailure::numberOutOfRange);
}

TEST(JSONReader, DoublesAreTheNearestToTheirDigits) {
  struct Case {
    const char* text;
    double value;
  };
  // Halfway digits, long digits, and both edges of the quick way through exact powers of ten.
  static constexpr Case cases[] = {{"9007199254740993", 9007199254740992.0},
                                   {"9007199254740993.00000000000000000001", 9007199254740994.0},
                                   {"1e22", 1e22},
                                   {"1e23", 1e23},
                                   {"1e-22", 1e-22},
                                   {"1e-23", 1e-23},
                                   {"123456789012345678901234567890", 123456789012345678901234567890.0},
                                   {"0.1000000000000000055511151231257827021181583404541015625", 0.1},
                                   {"2.2250738585072011e-308", 2.2250738585072011e-308},
                                   {"2.4703282292062328e-324", 5e-324},
                                   {"0e999999999999999999999", 0},
                                   {"0.000e-5", 0}};
  for (const auto& [text, value] : cases) EXPECT_EQ(json::decode<double>(text), value) << text;
}

TEST(JSONReader, AnErrorNamesThePathAndWhatStoodThere) {
  const auto lists =
      json::decode<std::map<std::string, std::vector<std::string>>>(R"({"a":["x"],"b c":["y",["z"]]})");
  ASSERT_FALSE(lists.has_value());
  EXPECT_EQ(lists.error().path(), R"(["b c"][1])");
  EXPECT_EQ(lists.error().description(), R"(expected a text, found a list at ["b c"][1] (byte 22))");
  EXPECT_EQ(json::decode<bool>("null").error().description(), "expected true or false, found null");
}

TEST(JSONValue, CasesAreKeptApartAndLookUpsNeverFail) {
  const auto value = json::decode<JSONValue>(R"({"list":[1,2.5,"x"],"flag":true,"none":null})");
  ASSERT_TRUE(value.has_value());
  ASSERT_NE((*value)["list"], nullptr);
  const JSONValue& list = *(*value)["list"];
  EXPECT_EQ(list[0]->intValue(), 1);
  EXPECT_EQ(list[0]->doubleValue(), std::nullopt);
  EXPECT_EQ(list[1]->doubleValue(), 2.5);
  EXPECT_EQ(*list[2]->stringValue(), "x");
  EXPECT_EQ(list[-1], nullptr);
  EXPECT_EQ(list[3], nullptr);
  EXPECT_EQ(list["list"], nullptr);
  EXPECT_EQ((*value)["missing"], nullptr);
  EXPECT_TRUE((*value)["none"]->isNull());
  EXPECT_EQ((*value)["flag"]->boolValue(), true);
  EXPECT_NE(JSONValue(1), JSONValue(1.0));
  const JSONValue built = JSONValue::dictionary(
      {{"none", nullptr}, {"flag", false}, {"list", JSONValue::array({1, 2.5, "x"})}, {"flag", true}});
  EXPECT_EQ(built, *value);
  EXPECT_EQ(built.hash(), value->hash());
  EXPECT_NE(built.hash(), list.hash());
}

}  // namespace
}  // namespace tilvanego
