#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>

#include "tests/support/Test.h"

namespace tilvanego {
namespace {

JSONValue inArray(JSONValue value) {
  JSONValue::Array array(1);
  array[0] = std::move(value);
  return array;
}

TEST(JSONWriter, TextsOfEveryLengthAndPlaceOfAnEscapeAreWrittenWhole) {
  for (std::size_t length = 0; length < 70; ++length) {
    EXPECT_EQ(json::encode(std::string(length, 'x')), '"' + std::string(length, 'x') + '"');
    for (std::size_t at = 0; at <= length; ++at) {
      const std::string before(at, 'a');
      const std::string after(length - at, 'b');
      EXPECT_EQ(json::encode(before + '/' + after), '"' + before + "\\/" + after + '"');
      EXPECT_EQ(json::encode(before + '\x1f' + after), '"' + before + "\\u001f" + after + '"');
      EXPECT_EQ(json::encode(before + "\U0001F355" + after), '"' + before + "\U0001F355" + after + '"');
      EXPECT_EQ(json::encode(before + '\xff' + after).error().failure, JSONFailure::invalidUTF8);
    }
  }
}

TEST(JSONWriter, TextsThatAreAllEscapesFitAtEverySize) {
  for (std::size_t count = 0; count < 5000; count = count * 5 / 4 + 1) {
    const std::string zeros(count, '\0');
    const auto text = json::encode(std::vector<std::string>{zeros, zeros});
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(text->size(), 2 * (6 * count + 2) + 3);
    EXPECT_EQ(json::decode<std::vector<std::string>>(*text), (std::vector<std::string>{zeros, zeros}));
  }
}

TEST(JSONWriter, WhatHasNoJSONFormIsRefusedWithItsPlace) {
  const JSONValue infinite =
      JSONValue::dictionary({{"a", JSONValue::array({1, 1.5, std::numeric_limits<double>::infinity()})}});
  const auto text = json::encode(infinite);
  ASSERT_FALSE(text.has_value());
  EXPECT_EQ(text.error().failure, JSONFailure::notFinite);
  EXPECT_EQ(text.error().description(), "the number is not finite at a[2]");
  EXPECT_EQ(json::encode(std::numeric_limits<double>::quiet_NaN()).error().failure, JSONFailure::notFinite);
  EXPECT_EQ(json::encode(JSONValue::dictionary({{"\xff", 1}})).error().description(),
            "text that is not UTF-8 at [?]");
  EXPECT_EQ(json::encode(std::vector{0.0F, std::numeric_limits<float>::infinity()}).error().report(),
            "[1]: the number is not finite");
}

TEST(JSONWriter, ADateWithoutATextIsRefusedInsteadOfAnother) {
  const auto written = [](double seconds, const JSONDates& dates) {
    const auto text = json::encode(std::vector{Date::fromSecondsSince1970(seconds)}, {.dates = &dates});
    return text ? *text : text.error().report();
  };
  constexpr const char* refusal = "[0]: a date outside the years that can be written";
  for (const JSONDates* dates : {&JSONDates::internetDateTime(), &JSONDates::api()}) {
    for (const double none :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(), 253'402'300'800.0, -62'167'219'201.0})
      EXPECT_EQ(written(none, *dates), refusal) << none;
    EXPECT_TRUE(written(253'402'300'799.0, *dates).starts_with("[\"9999-12-31T23:59:59"));
    EXPECT_TRUE(written(-62'167'219'200.0, *dates).starts_with("[\"0000-01-01T00:00:00"));
  }
}

TEST(JSONWriter, AFailureOfWritingPointsIntoNoText) {
  EXPECT_EQ(json::encode(std::vector<std::string>{"\xFF"}).error().report(), "[0]: text that is not UTF-8");
  JSONValue deep = 1;
  for (std::size_t i = 0; i <= jsonDepthLimit; ++i) deep = inArray(std::move(deep));
  const std::string report = json::encode(deep).error().report();
  EXPECT_TRUE(report.ends_with("[0]: nested too deeply")) << report;
}

TEST(JSONWriter, NestingIsRefusedBeyondTheLimit) {
  JSONValue value = 1;
  for (std::size_t i = 0; i < jsonDepthLimit; ++i) value = inArray(std::move(value));
  const auto pretty = json::encode(value, {.pretty = true});
  ASSERT_TRUE(pretty.has_value());
  EXPECT_EQ(json::decode<JSONValue>(*pretty), value);
  EXPECT_EQ(json::encode(inArray(value)).error().failure, JSONFailure::tooDeep);
}

}  // namespace
}  // namespace tilvanego
