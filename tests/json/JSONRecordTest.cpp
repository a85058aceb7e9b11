#include <tilvanego/json/JSON.h>

#include "tests/support/Test.h"

namespace tilvanego {
namespace test {

enum class Mode { chip, swipe, unknown };
enum class Direction { request, result };

/// A length read from a number and written as a text, as some peers want it.
struct LengthInMetres {
  static bool read(json::Reader& reader, double& metres) {
    if (!json::Codec<double>::read(reader, metres)) return false;
    return metres >= 0 || reader.fail(JSONFailure::invalidValue, "a length can't be negative");
  }
  static bool write(json::Writer& writer, const double& metres) {
    return writer.text(std::to_string(static_cast<int>(metres)) + " m");
  }
};

struct Step {
  std::string name;
  std::optional<double> length;
  bool operator==(const Step&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(json::field("name", &Step::name),
                        json::field<LengthInMetres>("length", &Step::length));
  }
};

struct Journey {
  std::string zebra;
  std::optional<std::string> notes;
  std::int64_t count = 0;
  std::optional<bool> isOpen;
  std::optional<int> small;
  Mode mode = Mode::chip;
  std::optional<Direction> direction;
  std::vector<Step> steps;
  std::optional<std::map<std::string, std::string>> items;
  std::optional<Step> last;
  std::optional<std::vector<bool>> flags;
  bool operator==(const Journey&) const = default;

  static constexpr auto jsonFields() {
    return json::fields(json::field("zebra", &Journey::zebra), json::field("notes", &Journey::notes),
                        json::field("Count", &Journey::count), json::field("is_open", &Journey::isOpen),
                        json::field("small", &Journey::small), json::field("mode", &Journey::mode),
                        json::field("direction", &Journey::direction), json::field("steps", &Journey::steps),
                        json::field("a fairly long key, longer than any block", &Journey::items),
                        json::field("last", &Journey::last), json::field("flags", &Journey::flags));
  }
};

struct Receipt {
  Decimal amount;
  std::optional<Decimal> tip;
  std::optional<Date> when;
  std::optional<UUID> id;
  bool operator==(const Receipt&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(json::field<json::AmountFromNumber>("amount", &Receipt::amount),
                        json::field<json::AmountFromText>("tip", &Receipt::tip),
                        json::field("when", &Receipt::when), json::field("id", &Receipt::id));
  }
};

/// Keys that begin alike, and that end before, at and after the 16 bytes that are compared in one go.
struct Keys {
  std::optional<int> a;
  std::optional<int> ab;
  std::optional<int> z;
  std::optional<int> empty;
  std::optional<int> exact;
  std::optional<int> longer;
  std::optional<int> longest;
  static constexpr auto jsonFields() {
    return json::fields(json::field("a", &Keys::a), json::field("ab", &Keys::ab), json::field("z", &Keys::z),
                        json::field("", &Keys::empty), json::field("14 characters.", &Keys::exact),
                        json::field("14 characters.a", &Keys::longer),
                        json::field("14 characters.abcdefghijklmno", &Keys::longest));
  }
};

/// A number that is left out if it is 0.
struct NonZero : json::Codec<int> {
  static bool isAbsent(int value) { return value == 0; }
};

/// As many fields as a record may have, all of one member, with the keys "00" to "77".
struct Wide {
  int last = 0;

  static constexpr std::array<std::array<char, 2>, 64> keys = [] {
    std::array<std::array<char, 2>, 64> all{};
    for (std::size_t i = 0; i < all.size(); ++i)
      all[i] = {static_cast<char>('0' + i / 8), static_cast<char>('0' + i % 8)};
    return all;
  }();
  static constexpr auto jsonFields() {
    return []<std::size_t... index>(std::index_sequence<index...>) {
      return json::fields(json::field<NonZero>(std::string_view(keys[index]), &Wide::last)...);
    }(std::make_index_sequence<keys.size()>());
  }
};

/// A record that holds its own kind.
struct Branch {
  std::vector<Branch> branches;
  static constexpr auto jsonFields() { return json::fields(json::field("b", &Branch::branches)); }
};

}  // namespace test

template <>
struct RawTexts<test::Mode> {
  static constexpr std::array table{std::pair{test::Mode::chip, std::string_view("CHIP")},
                                    std::pair{test::Mode::swipe, std::string_view("")},
                                    std::pair{test::Mode::unknown, std::string_view("unknown")}};
  static constexpr auto fallback = test::Mode::unknown;
};
template <>
struct RawTexts<test::Direction> {
  static constexpr std::array table{std::pair{test::Direction::request, std::string_view("request")},
                                    std::pair{test::Direction::result, std::string_view("result")}};
};

namespace {

using test::Branch;
using test::Direction;
using test::Journey;
using test::Keys;
using test::Mode;
using test::Receipt;
using test::Step;

const Journey full{.zebra = "z/1",
                   .notes = "\u00e9",
                   .count = -3,
                   .isOpen = false,
                   .small = 7,
                   .mode = Mode::swipe,
                   .direction = Direction::result,
                   .steps = {{"one", 2.5}, {"two", {}}},
                   .items = std::map<std::string, std::string>{{"b", "2"}, {"a", "1"}},
                   .last = Step{"end", 4.0},
                   .flags = std::vector{true, false}};

constexpr std::string_view smallest = R"({"zebra":"z","Count":1,"mode":"CHIP","steps":[]})";

TEST(JSONRecord, FieldsAreWrittenInTheOrderOfTheTable) {
  EXPECT_EQ(
      json::encode(full),
      R"({"zebra":"z\/1","notes":"é","Count":-3,"is_open":false,"small":7,"mode":"","direction":"result",)"
      R"("steps":[{"name":"one","length":"2 m"},{"name":"two"}],)"
      R"("a fairly long key, longer than any block":{"a":"1","b":"2"},"last":{"name":"end","length":"4 m"},)"
      R"("flags":[true,false]})");
}

TEST(JSONRecord, SortedKeysAreInByteOrderAtEveryLevel) {
  EXPECT_EQ(
      json::encode(full, {.sortedKeys = true}),
      R"({"Count":-3,"a fairly long key, longer than any block":{"a":"1","b":"2"},"direction":"result",)"
      R"("flags":[true,false],"is_open":false,"last":{"length":"4 m","name":"end"},"mode":"","notes":"é",)"
      R"("small":7,"steps":[{"length":"2 m","name":"one"},{"name":"two"}],"zebra":"z\/1"})");
}

TEST(JSONRecord, AbsentFieldsAreLeftOut) {
  Journey bare;
  bare.zebra = "z";
  bare.count = 1;
  EXPECT_EQ(json::encode(bare), smallest);
  EXPECT_EQ(json::encode(bare, {.pretty = true}),
            "{\n  \"zebra\" : \"z\",\n  \"Count\" : 1,\n  \"mode\" : \"CHIP\",\n  \"steps\" : [\n\n  ]\n}");
  EXPECT_EQ(json::decode<Journey>(smallest), bare);
}

TEST(JSONRecord, FieldsAreReadInAnyOrderWithAnyWhiteSpaceAndEscapedKeys) {
  const auto read = json::decode<Journey>(R"(
    { "unknown" : { "zebra" : [ 1 ] } , "flags":[true , false],"last":{"length":4,"name":"end"},
      "a fairly long key, longer than any block" : { "b" : "2" , "a" : "1" }, "direction" : "result","mode":"",
      "Count" : -3.0 , "zebr\u0061":"z\/1","notes":"\u00e9","small":7,
      "steps" : [ { "length" : 2.5 , "name":"one" } , {"name" : "two"} ], "is_open" : false , "":0 } )");
  ASSERT_TRUE(read.has_value()) << read.error().description();
  EXPECT_EQ(*read, full);
}

TEST(JSONRecord, WhatIsMissingOrNullLeavesNothingOfAFormerValue) {
  for (const std::string_view text :
       {smallest,
        std::string_view(R"({"zebra":"z","notes":null,"Count":1,"is_open":null,"small":null,)"
                         R"("mode":"CHIP","direction":null,"steps":[],"last":null,"flags":null})")}) {
    for (const bool inFieldOrder : {false, true}) {
      Journey used = full;
      used.items = std::nullopt;
      json::Reader reader(text);
      if (inFieldOrder) reader.readInFieldOrder();
      ASSERT_TRUE(json::Codec<Journey>::read(reader, used));
      EXPECT_EQ(used, json::decode<Journey>(smallest)) << text;
    }
  }
}

TEST(JSONRecord, EveryCodecIsThereWithOneHeader) {
  const auto id = UUID::parse("00000000-0000-4000-8000-0000000000AB").value();
  const auto comesBack = [](const auto& value, std::string_view text) {
    EXPECT_EQ(json::encode(value), text);
    EXPECT_EQ(json::decode<std::remove_cvref_t<decltype(value)>>(text).value(), value);
  };
  comesBack(std::vector{id}, R"(["00000000-0000-4000-8000-0000000000AB"])");
  comesBack(std::vector{Date()}, R"(["1970-01-01T00:00:00Z"])");
  comesBack(std::vector{*Decimal::parse("1234.5"), Decimal(10)}, R"(["1234.5","10"])");
  comesBack(std::vector{*URL::parse("https://shop.example/a")}, R"(["https:\/\/shop.example\/a"])");
  comesBack(std::map<std::string, URL>{{"u", *URL::parse("a:b")}}, R"({"u":"a:b"})");
  comesBack(std::optional<URL>(), "null");
  comesBack(std::optional<std::optional<int>>(5), "5");
  comesBack(std::array<float, 2>{0.1F, -0.0F}, "[0.1,-0]");
  EXPECT_EQ(json::decode<std::vector<Decimal>>(R"(["1",2])").error().report(),
            "[1]: expected a text, found a number");
  EXPECT_EQ(json::decode<std::vector<Decimal>>(R"(["1",""])").error().report(),
            "[1]: expected a Decimal value");
  EXPECT_EQ(json::decode<std::vector<URL>>(R"([""])").error().report(), "[0]: expected a URL");
}

TEST(JSONRecord, TheFirstOfEqualKeysCounts) {
  EXPECT_EQ(json::decode<Step>(R"({"name":"a","name":"b","length":null,"length":3})"),
            (Step{"a", std::nullopt}));
  EXPECT_EQ(json::decode<Step>(R"({"name":"a","name":5})"), (Step{"a", std::nullopt}));
  EXPECT_FALSE(json::decode<Step>(R"({"name":5,"name":"a"})").has_value());
}

TEST(JSONRecord, EveryKeyIsFoundAfterEveryOther) {
  const auto keys = json::recordKeys<Keys>();
  const auto valueAt = [](const Keys& record, std::size_t index) {
    const std::array all{record.a,     record.ab,     record.z,      record.empty,
                         record.exact, record.longer, record.longest};
    return all[index];
  };
  for (std::size_t first = 0; first < keys.size(); ++first) {
    for (std::size_t second = 0; second < keys.size(); ++second) {
      if (first == second) continue;
      for (const std::string_view colon : {":", " : "}) {
        const std::string text = "{\"" + std::string(keys[first]) + '"' + std::string(colon) + "1,\"" +
                                 std::string(keys[second]) + '"' + std::string(colon) + "2}";
        const auto record = json::decode<Keys>(text);
        ASSERT_TRUE(record.has_value()) << text;
        EXPECT_EQ(valueAt(*record, first), 1) << text;
        EXPECT_EQ(valueAt(*record, second), 2) << text;
      }
      const auto extended = json::decode<Keys>("{\"" + std::string(keys[first]) + "x\":1}");
      ASSERT_TRUE(extended.has_value());
      EXPECT_EQ(valueAt(*extended, first), std::nullopt);
    }
  }
  EXPECT_EQ(json::recordKeys<Step>(), (std::array<std::string_view, 2>{"name", "length"}));
}

TEST(JSONRecord, HasUpTo64Fields) {
  EXPECT_EQ(json::decode<test::Wide>(R"({"77":5})")->last, 5);
  EXPECT_EQ(json::decode<test::Wide>(R"({"00":5,"7":6})")->last, 5);
}

TEST(JSONRecord, AFailureNamesItsPath) {
  static constexpr std::array<std::string_view, 3> cases[] = {
      {R"("zebra":"z",)", "", "zebra is missing (byte 35)"},
      {R"("z")", "null", "expected a text, found null at zebra (byte 9)"},
      {R"("z")", "1", "expected a text, found a number at zebra (byte 9)"},
      {R"("CHIP")", "5", "expected a text, found a number at mode (byte 30)"},
      {"1", "1.5", "the number is not a whole number of 64 bits at Count (byte 21)"},
      {"1", R"(1,"small":2147483648)", "the number does not fit at small (byte 31)"},
      {"1", R"(1,"direction":"Result")", "unknown text at direction (byte 35)"},
      {"[]", R"([{"name":"a"},{}])", "name is missing at steps[1] (byte 60)"},
      {"[]", R"([{"name":"a","length":-1}])", "a length can't be negative at steps[0].length (byte 67)"},
      {"[]", R"([],"last":[])", "expected an object, found a list at last (byte 55)"},
      {"[]", R"([],"notes":"\x")", "invalid escape in a text at notes (byte 57)"},
  };
  for (const auto& [replaced, by, description] : cases) {
    std::string text(smallest);
    text.replace(text.find(replaced), replaced.size(), by);
    const auto read = json::decode<Journey>(text);
    ASSERT_FALSE(read.has_value()) << text;
    EXPECT_EQ(read.error().description(), description) << text;
  }
}

TEST(JSONRecord, AmountsAreReadAsTheirFieldSaysAndWrittenAsTexts) {
  const auto receipt = json::decode<Receipt>(R"({"amount":12.1,"tip":"0.50"})");
  ASSERT_TRUE(receipt.has_value()) << receipt.error().description();
  EXPECT_EQ(receipt->amount.text(), "12.1");
  EXPECT_EQ(json::encode(*receipt), R"({"amount":"12.1","tip":"0.5"})");
  EXPECT_EQ(json::decode<Receipt>(R"({"amount":"12.1"})").error().description(),
            "expected a number, found a text at amount (byte 10)");
  EXPECT_EQ(json::decode<Receipt>(R"({"amount":1,"tip":2})").error().failure, JSONFailure::wrongKind);
  EXPECT_EQ(json::decode<Receipt>(R"({"amount":1,"tip":"much"})").error().description(),
            "The key tip couldn't be converted to a Decimal value at tip (byte 18)");
  EXPECT_EQ(json::decode<Receipt>(R"({"amount":1e300})").error().description(),
            "the number is no amount at amount (byte 10)");
}

TEST(JSONRecord, DatesAndIdsHaveOneForm) {
  const Receipt receipt{
      1, {}, Date::fromSecondsSince1970(1'709'634'030), UUID::parse("00000000-0000-4000-8000-0000000000ab")};
  const std::string text =
      R"({"amount":"1","when":"2024-03-05T10:20:30Z","id":"00000000-0000-4000-8000-0000000000AB"})";
  EXPECT_EQ(json::encode(receipt), text);
  EXPECT_EQ(json::decode<Receipt>(R"({"amount":1,)" + text.substr(text.find("\"when"))), receipt);
  EXPECT_EQ(json::decode<Receipt>(R"({"amount":1,"when":"2024-13-05T10:20:30Z"})").error().description(),
            "expected a date at when (byte 19)");
  EXPECT_FALSE(json::decode<Receipt>(R"({"amount":1,"id":"00"})").has_value());
}

TEST(JSONRecord, ARecordOfItsOwnKindStopsAtTheDepthLimit) {
  const auto nested = [](std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) text += R"({"b":[)";
    for (std::size_t i = 0; i < depth; ++i) text += "]}";
    return text;
  };
  EXPECT_TRUE(json::decode<Branch>(nested(jsonDepthLimit / 2)).has_value());
  const auto beyond = json::decode<Branch>(nested(jsonDepthLimit / 2 + 1));
  ASSERT_FALSE(beyond.has_value());
  EXPECT_EQ(beyond.error().failure, JSONFailure::tooDeep);
}

}  // namespace
}  // namespace tilvanego
