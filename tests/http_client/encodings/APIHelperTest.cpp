#include <tilvanego/http_client/encodings/APIHelper.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

#include "tests/support/Test.h"

namespace tilvanego {
namespace {

using Items = std::vector<QueryItem>;
using Texts = std::map<std::string, std::string>;

const AnyValue mixed = AnyValue::array({1, std::nullopt, true, "b c", models::Status::approved});

TEST(APIHelper, RejectsAbsentValuesAndThenAnEmptyDictionary) {
  EXPECT_EQ(APIHelper::rejectNil({{"a", 1}, {"b", std::nullopt}, {"c", "x"}}),
            (Parameters{{"a", 1}, {"c", "x"}}));
  EXPECT_EQ(APIHelper::rejectNil({{"a", std::nullopt}}), std::nullopt);
  EXPECT_EQ(APIHelper::rejectNil({}), std::nullopt);
}

TEST(APIHelper, TurnsHeadersIntoTexts) {
  EXPECT_EQ(APIHelper::rejectNilHeaders({{"absent", std::nullopt},
                                         {"brand", models::CardBrand::dinersClub},
                                         {"empty", AnyValue::array({})},
                                         {"flag", false},
                                         {"list", mixed},
                                         {"real", 2.0}}),
            (Texts{{"brand", "DINERS CLUB"},
                   {"empty", ""},
                   {"flag", "false"},
                   {"list", "1,true,b c,APPROVED"},
                   {"real", "2.0"}}));
  EXPECT_EQ(APIHelper::rejectNilHeaders({{"a", std::nullopt}}), Texts());
}

TEST(APIHelper, ConvertsBooleansAloneToTexts) {
  EXPECT_EQ(APIHelper::convertBoolToString(Parameters{{"a", true}, {"b", false}, {"c", 1}, {"d", mixed}}),
            (Parameters{{"a", "true"}, {"b", "false"}, {"c", 1}, {"d", mixed}}));
  EXPECT_EQ(APIHelper::convertBoolToString(Parameters()), Parameters());
  EXPECT_EQ(APIHelper::convertBoolToString(std::nullopt), std::nullopt);
}

TEST(APIHelper, ConvertsAnyValueToText) {
  EXPECT_EQ(APIHelper::convertAnyToString(std::nullopt), std::nullopt);
  EXPECT_EQ(APIHelper::convertAnyToString(true), "true");
  EXPECT_EQ(APIHelper::convertAnyToString(models::Status::approved), "APPROVED");
  EXPECT_EQ(APIHelper::convertAnyToString(AnyValue::array({"a", std::nullopt})), R"(["a", nil])");
}

TEST(APIHelper, MapsPathItems) {
  EXPECT_EQ(APIHelper::mapValueToPathItem(mixed), AnyValue("1,true,b c,APPROVED"));
  EXPECT_EQ(APIHelper::mapValueToPathItem(AnyValue::array({std::nullopt})), AnyValue(""));
  EXPECT_EQ(APIHelper::mapValueToPathItem(models::Status::approved), AnyValue("APPROVED"));
  EXPECT_EQ(APIHelper::mapValueToPathItem(7), AnyValue(7)) << "an integer stays one";
}

TEST(APIHelper, MapsQueryItemsWithAndWithoutExplodedCollections) {
  const std::map<std::string, APIHelper::ExplodedValue> source = {
      {"exploded", {mixed, true}},
      {"joined", {mixed, false}},
      {"absent", {std::nullopt, true}},
      {"Z", {1, true}},
      {"nothing", {AnyValue::array({}), true}},
      {"emptyJoined", {AnyValue::array({}), false}},
      {"elementless", {AnyValue::array({std::nullopt}), true}},
  };
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(source), (Items{{"Z", "1"},
                                                             {"emptyJoined", ""},
                                                             {"exploded", "1"},
                                                             {"exploded", "true"},
                                                             {"exploded", "b c"},
                                                             {"exploded", "APPROVED"},
                                                             {"joined", "1,true,b c,APPROVED"}}));

  const Items exploded = {{"a", "1"}, {"a", "true"}, {"a", "b c"}, {"a", "APPROVED"}, {"b", "x"}};
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(Parameters{{"b", "x"}, {"a", mixed}}), exploded);
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(
                APIHelper::OptionalParameters{{"b", "x"}, {"a", mixed}, {"c", std::nullopt}}),
            exploded);
}

TEST(APIHelper, GivesNoneWhereThereIsNoQueryItem) {
  using Exploded = std::map<std::string, APIHelper::ExplodedValue>;
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(Exploded()), std::nullopt);
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(Exploded{{"a", {AnyValue::array({}), true}}}), std::nullopt);
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(Parameters{{"a", AnyValue::array({})}}), std::nullopt);
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(APIHelper::OptionalParameters{{"a", std::nullopt}}),
            std::nullopt);
}

}  // namespace
}  // namespace tilvanego
