#include <unordered_set>

#include <tilvanego/http_client/coding/KeyedContainers.h>
#include <tilvanego/http_client/coding/NullEncodable.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

#include "tests/support/Test.h"

namespace tilvanego {

/// A record with further keys that no table knows.
struct Ticket {
  Decimal price;
  std::optional<Decimal> tip;
  std::vector<int> seats;
  std::optional<std::vector<std::string>> tags;
  NullEncodable<std::string> note;
  std::map<std::string, bool> others;
};

template <>
struct json::Codec<Ticket> {
  static bool write(Writer& writer, const Ticket& ticket) {
    KeyedEncodingContainer<> fields(writer);
    return fields.open() && fields.encode(ticket.price, "price") &&
           fields.encodeIfPresent(ticket.tip, "tip") && fields.encodeArray(ticket.seats, "seats") &&
           fields.encodeArrayIfPresent(ticket.tags, "tags") && fields.encode(ticket.note, "note") &&
           fields.encodeMap(ticket.others) && fields.close();
  }
  static bool read(Reader& reader, Ticket& ticket) {
    KeyedDecodingContainer<> fields(reader);
    return fields.open() && fields.decode(ticket.price, "price") &&
           fields.decodeIfPresent(ticket.tip, "tip") && fields.decodeArray(ticket.seats, "seats") &&
           fields.decodeArrayIfPresent(ticket.tags, "tags") &&
           (!fields.contains("note") || fields.decode(ticket.note, "note")) &&
           fields.decodeMap(ticket.others, {"price", "tip", "seats", "tags", "note"});
  }
};

namespace {

using MaybeInt = NullEncodable<int>;

struct Patch {
  NullEncodable<std::string> name;
  std::optional<NullEncodable<int>> size;
  bool isLast = false;

  static constexpr auto jsonFields() {
    return json::fields(json::field("name", &Patch::name), json::field("size", &Patch::size),
                        json::field("isLast", &Patch::isLast));
  }
};

Ticket readTicket(const std::string& text) {
  const auto ticket = json::decode<Ticket>(text);
  EXPECT_TRUE(ticket) << ticket.error().description();
  return ticket.value_or(Ticket());
}

JSONError ticketFailure(const std::string& text) {
  const auto ticket = json::decode<Ticket>(text);
  EXPECT_FALSE(ticket) << text;
  return ticket ? JSONError() : ticket.error();
}

TEST(NullEncodable, ReadsAValueNullOrNothingAndForgivesTheRest) {
  const std::pair<const char*, MaybeInt> rows[] = {
      {"5", MaybeInt::encodeValue(5)},        {" null ", MaybeInt::encodeNull()},
      {"\"abc\"", MaybeInt::encodeNothing()}, {"1e99", MaybeInt::encodeNothing()},
      {"[1]", MaybeInt::encodeNothing()},     {R"({"null":null})", MaybeInt::encodeNothing()},
  };
  for (const auto& [text, value] : rows) EXPECT_EQ(json::decode<MaybeInt>(text), value) << text;
  EXPECT_EQ(json::decode<NullEncodable<std::optional<int>>>("null"),
            NullEncodable<std::optional<int>>::encodeValue(std::nullopt))
      << "the value is tried first";
  for (const char* bad : {"", "[1", "nul", "{\"a\"}", "01"}) EXPECT_FALSE(json::decode<MaybeInt>(bad)) << bad;
}

TEST(NullEncodable, LeavesAFieldOutOrWritesNull) {
  using Name = NullEncodable<std::string>;
  EXPECT_EQ(json::encode(Patch{}), R"({"isLast":false})");
  EXPECT_EQ(json::encode(Patch{Name::encodeNull(), MaybeInt::encodeNothing(), true}),
            R"({"name":null,"isLast":true})");
  EXPECT_EQ(json::encode(Patch{Name::encodeValue("x"), MaybeInt::encodeValue(1), true}),
            R"({"name":"x","size":1,"isLast":true})");
  EXPECT_TRUE(json::decode<Patch>(R"({"isLast":true})")->name.isNothing());
  EXPECT_TRUE(json::decode<Patch>(R"({"name":null,"isLast":true})")->name.isNull());
  EXPECT_TRUE(json::decode<Patch>(R"({"name":7,"isLast":true})")->name.isNothing());
  Patch used{Name::encodeValue("x"), MaybeInt::encodeNull(), false};
  json::Reader reader(R"({"isLast":true})");
  EXPECT_TRUE(json::Codec<Patch>::read(reader, used));
  EXPECT_TRUE(used.name.isNothing() && !used.size) << "nothing is left of a former value";

  const auto inList = json::encode(std::vector{MaybeInt::encodeValue(1), MaybeInt()});
  ASSERT_FALSE(inList);
  EXPECT_EQ(inList.error().description(), "there is nothing to encode at [1]");
}

TEST(NullEncodable, IsHashedByCaseAndValue) {
  const std::unordered_set<MaybeInt> all = {MaybeInt(), MaybeInt::encodeNull(), MaybeInt::encodeValue(0),
                                            MaybeInt::encodeValue(1), MaybeInt::encodeValue(1)};
  EXPECT_EQ(all.size(), 4u);
}

TEST(KeyedContainers, WriteAmountsAsTextsAndLeaveAbsentValuesOut) {
  Ticket ticket;
  ticket.price = *Decimal::parse("1.23456");
  ticket.seats = {4, 2};
  ticket.others = {{"window", true}, {"aisle", false}};
  EXPECT_EQ(json::encode(ticket), R"({"price":"1.235","seats":[4,2],"aisle":false,"window":true})");
  ticket.price = 1234;
  ticket.tip = *Decimal::parse("1234.5");
  ticket.tags.emplace();
  ticket.note = NullEncodable<std::string>::encodeNull();
  ticket.others.clear();
  EXPECT_EQ(json::encode(ticket), R"({"price":"1234","tip":"1234.5","seats":[4,2],"tags":[],"note":null})");
}

TEST(KeyedContainers, WriteAndReadAmountsInListsAsTexts) {
  const std::vector<Decimal> amounts = {*Decimal::parse("1.23456"), Decimal(10)};
  json::Writer writer;
  KeyedEncodingContainer<> written(writer);
  EXPECT_TRUE(written.open() && written.encodeArray(amounts, "a") &&
              written.encodeArrayIfPresent(std::optional(amounts), "b") &&
              written.encodeMap(std::map<std::string, Decimal>{{"c", 1}}) && written.close());
  const std::string text = writer.take();
  EXPECT_EQ(text, R"({"a":["1.235","10"],"b":["1.235","10"],"c":"1"})");

  json::Reader reader(text);
  KeyedDecodingContainer<> read(reader);
  std::vector<Decimal> back;
  EXPECT_TRUE(read.open() && read.decodeArray(back, "a"));
  EXPECT_EQ(back.at(1), Decimal(10));
}

TEST(KeyedContainers, StopAtTheFirstThatCannotBeWritten) {
  json::Writer keys;
  KeyedEncodingContainer<models::Status> statuses(keys);
  EXPECT_FALSE(statuses.open() && statuses.encode(1, static_cast<models::Status>(99)));
  EXPECT_EQ(keys.error().report(), "$: a key that is no case of its enumeration");
  json::Writer values;
  KeyedEncodingContainer<> numbers(values);
  const double infinite = std::numeric_limits<double>::infinity();
  EXPECT_FALSE(numbers.open() && numbers.encodeMap(std::map<std::string, double>{{"a", 1}, {"b", infinite}}));
  EXPECT_EQ(values.error().description(), "the number is not finite at b");
}

TEST(KeyedContainers, ReadKeysInAnyOrder) {
  const Ticket ticket =
      readTicket(R"({"z":true,"seats":[1,2],"note":"n","price":"10.50","tip":null,"a":false,"price":"99"})");
  EXPECT_EQ(ticket.price.text(), "10.5") << "the first of equal keys counts";
  EXPECT_EQ(ticket.tip, std::nullopt);
  EXPECT_EQ(ticket.seats, (std::vector{1, 2}));
  EXPECT_EQ(ticket.tags, std::nullopt);
  EXPECT_EQ(*ticket.note.value(), "n");
  EXPECT_EQ(ticket.others, (std::map<std::string, bool>{{"a", false}, {"z", true}}));
  EXPECT_EQ(readTicket(R"({"price":"1e2","tip":"-.5","seats":[],"tags":["x"]})").tip->text(), "-0.5");
}

TEST(KeyedContainers, SayWhichKeyFailedAndWhere) {
  const JSONError noAmount = ticketFailure(R"({ "price" : "abc" })");
  EXPECT_EQ(noAmount.detail, "The key price couldn't be converted to a Decimal value");
  EXPECT_EQ(noAmount.stepsOutward, std::vector<JSONPathStep>{"price"});
  EXPECT_EQ(noAmount.offset, 12u);
  EXPECT_EQ(ticketFailure(R"({"price":"1","tip":""})").detail,
            "The key tip couldn't be converted to a Decimal value");

  const std::pair<const char*, const char*> rows[] = {
      {R"({"price":12.5})", "expected a text, found a number at price (byte 9)"},
      {R"({"seats":[]})", "price is missing (byte 9)"},
      {R"({"price":"1","seats":[1,"2"]})", "expected a number, found a text at seats[1] (byte 24)"},
      {R"({"price":"1","seats":[],"tags":null})", "expected a list, found null at tags (byte 31)"},
      {R"({"price":"1","seats":[],"y":true,"x":1})", "expected true or false, found a number at x (byte 37)"},
      {R"({"price":"1","seats":[1,]})", "unexpected character at seats (byte 24)"},
      {"[]", "expected an object, found a list"},
  };
  for (const auto& [text, description] : rows)
    EXPECT_EQ(ticketFailure(text).description(), description) << text;
}

TEST(KeyedContainers, TakeEnumerationsForKeysAndPassOverOthers) {
  EXPECT_EQ(CodingKey<std::string>::intValue("12"), std::nullopt) << "a text is never a number";
  EXPECT_EQ(CodingKey<std::string>::fromInt(12), std::nullopt);
  using models::Status;
  json::Writer writer;
  KeyedEncodingContainer<Status> written(writer);
  EXPECT_TRUE(written.open() && written.encode(1, Status::saved) && written.close());
  const std::string text = writer.take();
  EXPECT_EQ(text, R"({"SAVED":1})");

  json::Reader reader(R"({"OTHER":[1],"SAVED":1})");
  KeyedDecodingContainer<Status> read(reader);
  ASSERT_TRUE(read.open());
  EXPECT_EQ(read.allKeys(), std::vector{Status::saved});
  std::map<Status, int> pairs;
  EXPECT_TRUE(read.decodeMap(pairs));
  EXPECT_EQ(pairs, (std::map<Status, int>{{Status::saved, 1}}));
}

TEST(KeyedContainers, AreBoundInDepthAndTime) {
  const auto nested = [](std::size_t depth) {
    return R"({"price":"1","seats":[],"note":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
  };
  EXPECT_TRUE(readTicket(nested(jsonDepthLimit - 1)).note.isNothing());
  EXPECT_EQ(ticketFailure(nested(jsonDepthLimit)).failure, JSONFailure::tooDeep);
  std::string many = R"({"price":"1","seats":[],"\u006eote":")" + std::string(1'000'000, '\\') + "\"";
  for (int i = 0; i < 20'000; ++i) many += ",\"k" + std::to_string(i) + "\":true";
  EXPECT_EQ(readTicket(many + "}").others.size(), 20'000u);
  // The pieces share the limits of the whole.
  for (const JSONLimits& limits : {JSONLimits{.elements = 19'000}, JSONLimits{.memory = 1'500'000}}) {
    EXPECT_EQ(json::decode<Ticket>(many + "}", nullptr, limits).error().failure, JSONFailure::beyondLimit);
  }
  EXPECT_EQ(json::decode<NullEncodable<std::vector<int>>>("[1]", nullptr, {.memory = 1}).error().report(),
            "[0]: what was read takes more than 1 bytes of memory (byte 0)");
}

TEST(JSONValueOfAnything, IsWhatItsJSONSaysAndTakesAnyInteger) {
  const auto value = JSONValue::encoding(Patch{{}, MaybeInt::encodeValue(3), true});
  ASSERT_TRUE(value);
  EXPECT_EQ(*value, JSONValue::dictionary({{"size", 3}, {"isLast", true}}));
  EXPECT_EQ(JSONValue::encoding(std::vector{1.0, 1.5}), JSONValue::array({1, 1.5}));
  EXPECT_EQ(JSONValue::encoding(std::numeric_limits<double>::infinity()).error().failure,
            JSONFailure::notFinite);
  EXPECT_EQ(json::decode<JSONValue>("1e999").error().detail, "Unknown JSON value");
  EXPECT_EQ(JSONValue(5U), JSONValue(5));
  EXPECT_EQ(JSONValue(std::numeric_limits<std::uint64_t>::max()), JSONValue(18446744073709551616.0));
  const JSONValue list = JSONValue::array({1, 2});
  EXPECT_EQ(*list[std::size_t{1}], JSONValue(2));
  EXPECT_EQ(list[-1], nullptr);
  EXPECT_EQ(list[std::numeric_limits<std::uint64_t>::max()], nullptr);
}

}  // namespace
}  // namespace tilvanego
