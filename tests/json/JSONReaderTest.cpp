#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>

#include "tests/support/Test.h"

namespace tilvanego {
namespace {

TEST(JSONReader, MalformedTextIsRefusedWithItsReasonAndPlace) {
  static constexpr std::tuple<std::string_view, JSONFailure, std::size_t> refusals[] = {
      {"", JSONFailure::unexpectedEnd, 0},
      {"  [1", JSONFailure::unexpectedEnd, 4},
      {"[1,", JSONFailure::unexpectedEnd, 3},
      {R"({"a)", JSONFailure::unexpectedEnd, 3},
      {R"({"a" )", JSONFailure::unexpectedEnd, 5},
      {R"("\)", JSONFailure::unexpectedEnd, 2},
      {"[1,]", JSONFailure::unexpectedCharacter, 3},
      {R"({"a":1,})", JSONFailure::unexpectedCharacter, 7},
      {R"({"a" 1})", JSONFailure::unexpectedCharacter, 5},
      {R"({"a":1 "b":2})", JSONFailure::unexpectedCharacter, 7},
      {"[1}", JSONFailure::unexpectedCharacter, 2},
      {R"({"a":1])", JSONFailure::unexpectedCharacter, 6},
      {"trux", JSONFailure::unexpectedCharacter, 0},
      {".5", JSONFailure::unexpectedCharacter, 0},
      {"-", JSONFailure::invalidNumber, 0},
      {"5.e1", JSONFailure::invalidNumber, 0},
      {"01", JSONFailure::trailingContent, 1},
      {std::string_view("1\0", 2), JSONFailure::trailingContent, 1},
      {"[\"a\nb\"]", JSONFailure::controlCharacter, 3},
      {"\"\\n\x1f\"", JSONFailure::controlCharacter, 3},
      {R"("ab\x")", JSONFailure::invalidEscape, 3},
      {R"("\u12g4")", JSONFailure::invalidEscape, 1},
      {R"("\ud800\n")", JSONFailure::invalidEscape, 1},
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

template <typename Number>
std::string readAs(const char* text) {
  const auto value = json::decode<Number>(text);
  if (!value) return value.error().failure == JSONFailure::numberOutOfRange ? "refused" : "no number";
  return json::encode(*value).value();
}

TEST(JSONReader, IntegersAreExactHoweverTheyAreWritten) {
  static constexpr std::array<const char*, 3> cases[] = {
      {"9223372036854775807", "9223372036854775807", "9223372036854775807"},
      {"-9223372036854775808", "-9223372036854775808", "refused"},
      {"9007199254740993.0", "9007199254740993", "9007199254740993"},
      {"9223372036854775807.0000000000000000000000", "9223372036854775807", "9223372036854775807"},
      {"-922337203685477580.80e1", "-9223372036854775808", "refused"},
      {"1000000000000000000000000e-6", "1000000000000000000", "1000000000000000000"},
      {"0.000000000000000000000009007199254740993e39", "9007199254740993", "9007199254740993"},
      {"9223372036854775808", "refused", "9223372036854775808"},
      {"18446744073709551615", "refused", "18446744073709551615"},
      {"1844674407370955161.5e1", "refused", "18446744073709551615"},
      {"18446744073709551616", "refused", "refused"},
      {"1e19", "refused", "10000000000000000000"},
      {"-0", "0", "0"},
      {"-1", "-1", "refused"},
      {"1e-400", "0", "0"},
      {"0.5", "refused", "refused"},
      {"1.00000000000000000001", "refused", "refused"},
      {"1e999999999999", "refused", "refused"},
  };
  for (const auto& [text, asSigned, asUnsigned] : cases) {
    EXPECT_EQ(readAs<std::int64_t>(text), asSigned) << text;
    EXPECT_EQ(readAs<std::uint64_t>(text), asUnsigned) << text;
  }
  EXPECT_EQ(json::decode<JSONValue>("9007199254740993.0"), JSONValue(9007199254740993));
  EXPECT_EQ(readAs<std::int8_t>("-128"), "-128");
  EXPECT_EQ(readAs<std::int8_t>("128"), "refused");
  EXPECT_EQ(readAs<std::uint8_t>("255"), "255");
  EXPECT_EQ(readAs<std::uint16_t>("65536"), "refused");
}

TEST(JSONReader, FloatsAreTheNearestAndWrittenByTheirShortestText) {
  for (const char* text :
       {"0", "-0", "0.1", "3.4028235e+38", "1e-45", "16777216", "1.6777218e+07", "0.0001", "9.999e-05"})
    EXPECT_EQ(readAs<float>(text), text);
  // The nearest double lies halfway between two floats, and the number on one side.
  EXPECT_EQ(json::decode<float>("1.00000005960464477540"), 1.0000001F);
  EXPECT_EQ(json::decode<float>("1.00000005960464477538"), 1.0F);
  EXPECT_EQ(readAs<float>("3.5e38"), "refused");
  EXPECT_EQ(readAs<float>("1e-46"), "refused");
}

TEST(JSONReader, AnArrayHasExactlyItsCountOfElements) {
  using Corners = std::map<std::string, std::array<int, 2>>;
  EXPECT_EQ(json::decode<Corners>(R"({"a":[1,2]})"), (Corners{{"a", {1, 2}}}));
  EXPECT_EQ(json::encode(Corners{{"a", {1, 2}}}), R"({"a":[1,2]})");
  const std::pair<const char*, const char*> refusals[] = {
      {R"({"a":[1]})", "a: expected a list of 2, found 1"},
      {R"({"a":[1,2,3]})", "a: expected a list of 2, found more"},
      {R"({"a":[1,"2"]})", "a[1]: expected a number, found a text"},
      {R"({"a":null})", "a: expected a list, found null"},
  };
  for (const auto& [text, report] : refusals) EXPECT_EQ(json::decode<Corners>(text).error().report(), report);
}

TEST(JSONReader, DoublesAreTheNearestToTheirDigits) {
  // Halfway digits, long digits, and both edges of the quick way through exact powers of ten.
  static constexpr std::pair<const char*, double> cases[] = {
      {"9007199254740993", 9007199254740992.0},
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
  EXPECT_EQ(lists.error().description(), R"(expected a text, found a list at ["b c"][1] (byte 22))");
  EXPECT_EQ(json::decode<bool>("null").error().description(), "expected true or false, found null");
}

TEST(JSONReader, AnErrorShowsNothingThatALogWouldObey) {
  const auto read = json::decode<std::map<std::string, std::map<std::string, int>>>(
      "{\"a\\u001b[2J\\n\":{\"\u202e\u2066x\u0085\u2028\ufeff\u00e9\":\"\"}}");
  EXPECT_EQ(read.error().path(), "[\"a\\u001b[2J\\n\"][\"\\u202e\\u2066x\\u0085\\u2028\\ufeff\u00e9\"]");
  const JSONError own{.failure = JSONFailure::invalidValue, .detail = "key \u202e\x1b\xff"};
  EXPECT_EQ(own.report(), "$: key \\u202e\\u001b\ufffd");
  const JSONError missing{.failure = JSONFailure::missingKey, .detail = "a\nb"};
  EXPECT_EQ(missing.description(), "a\\u000ab is missing");
}

TEST(JSONValue, EveryNumberThatIsReadComesBackFromItsText) {
  for (const char* text :
       {"-49223372036778901.3", "9007199254740992.5", "1.00000000000000000001", "9223372036854775808",
        "-9223372036854775809", "9.2233720368547758e+18", "9223372036854775807.0", "1e-400", "1e300",
        "4.92233720367789e+16", "0.1", "1e18", "1e19"}) {
    const auto value = json::decode<JSONValue>(text);
    ASSERT_TRUE(value.has_value()) << text;
    EXPECT_EQ(json::decode<JSONValue>(*json::encode(*value)), value) << text;
  }
  EXPECT_EQ(json::decode<JSONValue>("9223372036854775807.0"), JSONValue(INT64_MAX));
  EXPECT_EQ(json::decode<JSONValue>("9.007199254740993e15"), JSONValue(9007199254740993));
}

static_assert(!std::is_constructible_v<JSONValue, char> && std::is_constructible_v<JSONValue, unsigned char>);

TEST(JSONValue, SubscriptsChainAndNeverFail) {
  const auto value = json::decode<JSONValue>(R"({"list":[1,2.5,"x",[{"a":true}]],"flag":true,"none":null})");
  ASSERT_TRUE(value.has_value());
  const JSONValue& document = *value;
  EXPECT_EQ(document["list"][0].intValue(), 1);
  EXPECT_EQ(document["list"][0]->doubleValue(), std::nullopt);
  EXPECT_EQ(document["list"][1].doubleValue(), 2.5);
  EXPECT_EQ(*document["list"][2].stringValue(), "x");
  EXPECT_EQ(document["list"][3][0]["a"].boolValue(), true);
  EXPECT_EQ(*document["list"][3], JSONValue::array({JSONValue::dictionary({{"a", true}})}));
  EXPECT_TRUE(document["none"] && document["none"].isNull());
  EXPECT_EQ(document["flag"].get(), &document.dictionaryValue()->at("flag"));

  const JSONLookup absent[] = {
      document["list"][-1], document["list"][SIZE_MAX], document["list"]["list"],
      document["missing"],  document["flag"][0],        document[0],
      JSONLookup(),
  };
  for (const JSONLookup& one : absent) {
    EXPECT_FALSE(one);
    EXPECT_EQ(one, nullptr);
    EXPECT_EQ(one.intValue(), std::nullopt);
    EXPECT_EQ(one.stringValue(), nullptr);
    EXPECT_FALSE(one.isNull() || one.isArray() || one.isString());
    EXPECT_FALSE(one[0] || one["x"]);
  }
  EXPECT_DEATH((void)*document["missing"], "there is no value here");
}

TEST(JSONValue, IsWrittenToAStreamAsJSONWithoutSecrets) {
  const JSONValue token = JSONValue::dictionary({{"basic_token", JSONValue::array({"s3cret"})}});
  const std::pair<JSONValue, std::string_view> cases[] = {
      {JSONValue(), "null"},
      {JSONValue::array({true, 1, 1.0, -2.5e300, "a\"\n"}), R"([true,1,1.0,-2.5e+300,"a\"\n"])"},
      {JSONValue::array({JSONValue::Array(), JSONValue::array({JSONValue::Dictionary()}), 1}), "[[],[{}],1]"},
      {JSONValue::dictionary({{"a\n", JSONValue::array({token, 1})}, {"b", nullptr}}),
       R"({"a\n":[{"basic_token":<redacted>},1],"b":null})"},
      {JSONValue::dictionary({{"Payload", nullptr}, {"clear_pan", 4}, {"notes", "n0tes"}, {"z", token}}),
       R"({"Payload":null,"clear_pan":<redacted>,"notes":<redacted>,"z":{"basic_token":<redacted>}})"},
      {std::numeric_limits<double>::infinity(), "inf"},
      {"\xFF", "\"\xEF\xBF\xBD\""},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(testing::PrintToString(value), text);
}

TEST(JSONValue, CasesAreKeptApartAndCopiesAreWhole) {
  EXPECT_NE(JSONValue(1), JSONValue(1.0));
  EXPECT_NE(JSONValue(JSONValue::Array()), JSONValue(JSONValue::Dictionary()));
  EXPECT_NE(JSONValue(""), JSONValue());
  const JSONValue built = JSONValue::dictionary(
      {{"none", nullptr}, {"flag", false}, {"list", JSONValue::array({1, 2.5, "x"})}, {"flag", true}});
  EXPECT_EQ(json::encode(built), R"({"flag":true,"list":[1,2.5,"x"],"none":null})");
  JSONValue copy = built;
  EXPECT_EQ(copy, built);
  EXPECT_EQ(copy.hash(), built.hash());
  EXPECT_NE(built.hash(), built["list"]->hash());
  EXPECT_NE(JSONValue::array({1, 2}), JSONValue::array({1, 3}));
  EXPECT_NE(JSONValue::dictionary({{"a", 1}}), JSONValue::dictionary({{"b", 1}}));
  const JSONValue moved = std::move(copy);
  EXPECT_EQ(moved, built);
  EXPECT_EQ(copy, JSONValue(JSONValue::Dictionary())) << "a moved-from dictionary is an empty one";
  copy = *built["list"];
  copy = *copy[2];
  EXPECT_EQ(copy, JSONValue("x")) << "a value may be replaced by one inside it";
}

}  // namespace
}  // namespace tilvanego
