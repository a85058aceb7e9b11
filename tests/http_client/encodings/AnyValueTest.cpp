// The values of parameters, and what the helper makes of them.
#include <map>
#include <random>

#include <tilvanego/http_client/encodings/APIHelper.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

#include "tests/support/Test.h"

namespace tilvanego {
namespace {

enum class Colour { red, green };

}  // namespace

template <>
struct RawTexts<Colour> {
  static constexpr std::array table{std::pair{Colour::red, std::string_view("RED")},
                                    std::pair{Colour::green, std::string_view("GREEN")}};
};

namespace {

struct Unrelated {};

static_assert(!std::is_constructible_v<AnyValue, const int*>, "a pointer is no boolean");
static_assert(!std::is_constructible_v<AnyValue, const void*>);
static_assert(!std::is_constructible_v<AnyValue, std::nullptr_t>);
static_assert(!std::is_constructible_v<AnyValue, char>, "a character is no number");
static_assert(!std::is_constructible_v<AnyValue, Unrelated>);
static_assert(!std::is_constructible_v<AnyValue, std::vector<Unrelated>>);
static_assert(!std::is_constructible_v<AnyValue, std::optional<int>>, "an absent value is no value");
static_assert(std::is_convertible_v<std::optional<int>, std::optional<AnyValue>>);
static_assert(std::is_nothrow_move_constructible_v<AnyValue>);

const std::string text = "text";
const std::uint64_t beyondSigned = std::numeric_limits<std::uint64_t>::max();

struct Row {
  AnyValue value;
  std::string description;
  std::optional<std::string> numberText;
};

std::vector<Row> rows() {
  const auto date = Date::fromSecondsSince1970(1709634030.5);
  const auto uuid = *UUID::parse("0f8fad5b-d9cb-469f-a165-70867728950e");
  const double infinity = std::numeric_limits<double>::infinity();
  return {
      {"", "", {}},
      {"literal", "literal", {}},
      {std::string_view(text).substr(1), "ext", {}},
      {std::string("a\0b", 3), std::string("a\0b", 3), {}},
      {true, "true", "1"},
      {false, "false", "0"},
      {std::int8_t{-5}, "-5", "-5"},
      {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808", "-9223372036854775808"},
      {beyondSigned, "18446744073709551615", "18446744073709551615"},
      {1.0, "1.0", "1"},
      {12.1, "12.1", "12.1"},
      {-0.0, "-0.0", "-0"},
      {1.5F, "1.5", "1.5"},
      {infinity, "inf", "inf"},
      {*Decimal::parse("12.50"), "12.5", "12.5"},
      {Data("five!"), "5 bytes", {}},
      {Bytes{1, 2}, "2 bytes", {}},
      {*URL::parse("https://example.com/a b"), "https://example.com/a%20b", {}},
      {uuid, "0F8FAD5B-D9CB-469F-A165-70867728950E", {}},
      {date, "2024-03-05 10:20:30 +0000", {}},
      {Colour::green, "GREEN", {}},
      {models::CardBrand::americanExpress, "AMERICAN EXPRESS", {}},
      {std::vector<int>{}, "[]", {}},
      {std::vector{true, false}, "[true, false]", {}},
      {std::vector<std::optional<double>>{1.0, std::nullopt}, "[1.0, nil]", {}},
      {std::vector{std::string("a\"b"), std::string("c")}, R"(["a\"b", "c"])", {}},
      {AnyValue::array({std::vector{Colour::red}}), "[[RED]]", {}},
      {AnyValue::array({1, "two", std::nullopt, 3.5, date}),
       R"([1, "two", nil, 3.5, 2024-03-05 10:20:30 +0000])",
       {}},
  };
}

TEST(AnyValue, HasItsDefaultTextAndItsTextAsANumber) {
  for (const Row& row : rows()) {
    EXPECT_EQ(row.value.description(), row.description);
    EXPECT_EQ(row.value.numberText(), row.numberText) << row.description;
  }
}

TEST(AnyValue, EqualsOnlyTheSameTypeWithTheSameValue) {
  const auto left = rows();
  const auto right = rows();
  for (std::size_t i = 0; i < left.size(); ++i) {
    for (std::size_t j = 0; j < right.size(); ++j) {
      EXPECT_EQ(left[i].value == right[j].value, i == j)
          << left[i].description << ", " << right[j].description;
    }
  }
}

TEST(AnyValue, IsAskedForTheExactType) {
  const AnyValue number = 5;
  EXPECT_EQ(*number.as<std::int64_t>(), 5);
  EXPECT_EQ(number.as<double>(), nullptr);
  EXPECT_EQ(number.as<bool>(), nullptr);
  EXPECT_EQ(AnyValue("RED").as<AnyValue::RawValue>(), nullptr);
  EXPECT_EQ(AnyValue(Colour::red).as<AnyValue::RawValue>()->text, "RED");
  EXPECT_EQ(AnyValue(std::vector{1, 2}).as<AnyValue::Array>()->size(), 2u);
  EXPECT_EQ(AnyValue(Bytes{1}), AnyValue(Data(Bytes{1}))) << "bytes are no collection of integers";
}

TEST(AnyValue, SharesBytesAndCollectionsWithItsCopies) {
  const AnyValue bytes = Data(Bytes(1000));
  const AnyValue list = std::vector{1, 2, 3};
  const AnyValue copyOfBytes = bytes;
  const AnyValue copyOfList = list;
  EXPECT_EQ(copyOfBytes.as<Data>()->bytes().data(), bytes.as<Data>()->bytes().data());
  EXPECT_EQ(copyOfList.as<AnyValue::Array>(), list.as<AnyValue::Array>());

  AnyValue left = list;
  const AnyValue taken = std::move(left);
  EXPECT_EQ(left.description(), "[]");  // NOLINT(bugprone-use-after-move)
}

using Items = std::vector<QueryItem>;
using Texts = std::map<std::string, std::string>;

const AnyValue mixed = AnyValue::array({1, std::nullopt, true, "b c", models::Status::approved});

// A map of texts shares its block with its copies until one of them changes.
TEST(FlatMap, DoesAsAMapDoesAndSoDoItsCopies) {
  std::mt19937 random(7);
  struct Pair {
    FlatMap<std::string> flat;
    std::map<std::string, std::string> map;
  };
  std::vector<Pair> pairs(4);
  for (int step = 0; step < 20'000; ++step) {
    Pair& one = pairs[random() % pairs.size()];
    const std::string key(1 + random() % 20, static_cast<char>('a' + random() % 6));
    const std::string value = std::to_string(random());
    const std::string other(1 + random() % 3, static_cast<char>('a' + random() % 6));
    switch (random() % 9) {
      case 0:
        EXPECT_EQ(one.flat.emplace(key, value).second, one.map.emplace(key, value).second);
        break;
      case 1:
        EXPECT_EQ(one.flat.insert_or_assign(key, value).first->second, value);
        one.map.insert_or_assign(key, value);
        break;
      case 2:
        EXPECT_EQ(one.flat.erase(key), one.map.erase(key));
        break;
      case 3:
        one.flat[key] += value;
        one.map[key] += value;
        break;
      case 4:
        pairs[random() % pairs.size()] = one;
        break;
      case 5:
        if (one.map.empty()) break;
        one.flat.insert_or_assign(key, std::as_const(one.flat).begin()->second);
        one.map.insert_or_assign(key, one.map.begin()->second);
        break;
      case 6:
        one.flat.insert_or_assign(key, one.flat[other]);
        one.map.insert_or_assign(key, one.map.contains(other) ? one.map[other] : "");
        break;
      case 7:
        if (!one.map.contains(other)) break;
        one.flat[key] += one.flat.at(other);
        one.map[key] += one.map.at(other);
        EXPECT_EQ(one.flat[key] == one.flat[other], one.map[key] == one.map[other]);
        break;
      default:
        for (auto& [name, held] : one.map) one.flat[name] = held += one.flat[name] == "x" ? "y" : "x";
        if (random() % 8 == 0) one = {};
    }
    const auto& [flat, map] = pairs[random() % pairs.size()];
    ASSERT_TRUE(std::ranges::equal(
        flat, map, [](const auto& a, const auto& b) { return a.first == b.first && a.second == b.second; }));
    EXPECT_EQ(flat.contains(key), map.contains(key));
  }
}

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

  // None where there is no query item.
  using Exploded = std::map<std::string, APIHelper::ExplodedValue>;
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(Exploded()), std::nullopt);
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(Exploded{{"a", {AnyValue::array({}), true}}}), std::nullopt);
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(Parameters{{"a", AnyValue::array({})}}), std::nullopt);
  EXPECT_EQ(APIHelper::mapValuesToQueryItems(APIHelper::OptionalParameters{{"a", std::nullopt}}),
            std::nullopt);
}

}  // namespace
}  // namespace tilvanego
