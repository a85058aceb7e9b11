#include <climits>

#include <pthread.h>

#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>

#include "tests/support/AllocationCount.h"
#include "tests/support/Test.h"

namespace tilvanego {
namespace {

struct Shelf {
  std::vector<std::vector<std::string>> books;
  std::optional<std::map<std::string, JSONValue>> notes;
  bool operator==(const Shelf&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(json::field("books", &Shelf::books), json::field("notes", &Shelf::notes));
  }
};

std::string repeated(std::string_view unit, std::size_t bytes) {
  std::string text = "[";
  while (text.size() < bytes) text.append(unit).append(",");
  text.back() = ']';
  return text;
}

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

TEST(JSONLimits, ATextBeyondALimitIsRefusedWithItsPath) {
  using Case = std::tuple<std::string_view, JSONLimits, std::string_view>;
  static constexpr std::string_view shelf =
      R"({"books":[["a"],["b","c"]],"notes":{"x":[1,2],"y":{}},"u":[0]})";
  static constexpr Case cases[] = {
      {shelf, {.bytes = shelf.size() - 1}, "$: the text is longer than 61 bytes (byte 0)"},
      {shelf, {.elements = 12}, "$: more than 12 elements (byte 59)"},
      {shelf, {.elements = 4}, "books[1]: more than 4 elements (byte 17)"},
      {shelf, {.elements = 8}, "notes.x: more than 8 elements (byte 41)"},
      {shelf, {.depth = 2}, "books[0]: nested too deeply (byte 10)"},
  };
  for (const auto& [text, limits, report] : cases) {
    const auto read = json::decode<Shelf>(text, nullptr, limits);
    ASSERT_FALSE(read.has_value()) << report;
    EXPECT_EQ(read.error().report(), report);
  }
  constexpr std::size_t firstBooks = 4 * sizeof(std::vector<std::string>);
  EXPECT_EQ(json::decode<Shelf>(shelf, nullptr, {.memory = firstBooks - 1}).error().report(),
            "books[0]: what was read takes more than " + std::to_string(firstBooks - 1) +
                " bytes of memory (byte 9)");
  EXPECT_TRUE(
      json::decode<Shelf>(shelf, nullptr, {.bytes = shelf.size(), .elements = 13, .depth = 3}).has_value());

  static constexpr Case values[] = {
      {R"([1,{"a":[2,3]}])", {.elements = 4}, "[1].a: more than 4 elements (byte 11)"},
      {R"([1,{"a":[2,3]}])", {.depth = 2}, "[1].a: nested too deeply (byte 8)"},
      {R"([1,{"a":[2,3}])", {}, "[1].a: unexpected character (byte 12)"},
      {R"({"a":1,"a":[2,tru]})", {}, "a: unexpected character (byte 14)"},
      {R"([[],{"a":[[2],{"b c":1e999}]}])", {}, R"([1].a[1]["b c"]: Unknown JSON value)"},
  };
  for (const auto& [text, limits, report] : values)
    EXPECT_EQ(json::decode<JSONValue>(text, nullptr, limits).error().report(), report);

  // Which element is too much depends on the sizes of the standard library's types.
  const auto record = json::decode<Shelf>(shelf, nullptr, {.memory = 500 * sizeof(void*) / 8});
  const auto value =
      json::decode<JSONValue>(R"([1,{"a":[2,3]}])", nullptr, {.memory = 300 * sizeof(void*) / 8});
  ASSERT_FALSE(record.has_value() || value.has_value());
  EXPECT_TRUE(record.error().report().starts_with("notes.")) << record.error().report();
  EXPECT_TRUE(value.error().report().starts_with("[1].a")) << value.error().report();
  for (const auto& report : {record.error().report(), value.error().report()}) {
    EXPECT_TRUE(report.contains(": what was read takes more than ")) << report;
  }
}

TEST(JSONLimits, ADepthBeyondTheLibrarysOwnIsThat) {
  EXPECT_EQ(json::decode<JSONValue>(nested(jsonDepthLimit + 1), nullptr, {.depth = 10'000}).error().failure,
            JSONFailure::tooDeep);
}

// Bodies just past each growth of a list, where its old and its new room are there at once.
TEST(JSONLimits, AHostileBodyCostsAtMostSixtyFourTimesItsSize) {
  for (const char* unit : {"0", "[0]", "[]", "{}", "\"\"", "[[0]]", "[[]]", "[0,0,0]", R"({"":0})",
                           R"({"":{}})", R"({"a":0,"b":0})", "[{}]", "null", "1e5", R"({"":[0]})"}) {
    for (const std::size_t elements : {1u, 2u, 3u, 5u, 9u, 33u, 1025u}) {
      const std::string body = repeated(unit, 1 + elements * (std::string_view(unit).size() + 1));
      const std::size_t cost = test::peakBytesOf([&] { (void)json::decode<JSONValue>(body); });
      EXPECT_LE(cost, 64 * body.size()) << unit << " x " << elements;
    }
  }
  const std::string large = repeated("[0]", 20'000'000);
  const std::size_t cost =
      test::peakBytesOf([&] { EXPECT_FALSE(json::decode<JSONValue>(large).has_value()); });
  // The allocator rounds up what small lists ask for.
  EXPECT_LE(cost, JSONLimits().memory / 4 * 5);
  const std::string deep = nested(jsonDepthLimit);
  EXPECT_LE(test::peakBytesOf([&] { (void)json::decode<JSONValue>(deep); }), 64 * deep.size());
}

TEST(JSONLimits, MemoryIsCountedForEachKindOfList) {
  const JSONLimits limits{.memory = 1'000'000};
  const auto refused = [&]<typename T>(const std::string& text) {
    const std::size_t cost = test::peakBytesOf(
        [&] { EXPECT_EQ(json::decode<T>(text, nullptr, limits).error().failure, JSONFailure::beyondLimit); });
    EXPECT_LE(cost, limits.memory + text.size());
  };
  refused.operator()<std::vector<std::string>>(repeated("\"\"", 100'000));
  refused.operator()<std::vector<std::vector<Shelf>>>(repeated(R"([{"books":[]}])", 100'000));
  std::string keys;
  for (int i = 0; i < 20'000; ++i) keys += (i == 0 ? "{\"" : ",\"") + std::to_string(i) + "\":[]";
  refused.operator()<std::map<std::string, std::vector<int>>>(keys + "}");
  refused.operator()<JSONValue>(keys + "}");
}

// On a thread with a stack of 64 KB, or more where a sanitizer pads every frame or a processor's threads need
// more.
void onSmallStack(std::function<void()> action) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  const std::size_t stackSize = std::size_t{1} << 20;
#else
  const auto stackSize = std::max(std::size_t{64} << 10, static_cast<std::size_t>(PTHREAD_STACK_MIN));
#endif
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackSize), 0);
  pthread_t thread{};
  const auto run = [](void* one) -> void* {
    (*static_cast<std::function<void()>*>(one))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &action), 0);
  pthread_attr_destroy(&attributes);
  pthread_join(thread, nullptr);
}

TEST(JSONLimits, AnyDepthTakesTheStackOfAFlatValue) {
  std::string mixed;
  for (std::size_t i = 0; i < jsonDepthLimit / 2; ++i) mixed += "[0,{\"a\":";
  mixed += "1";
  for (std::size_t i = 0; i < jsonDepthLimit / 2; ++i) mixed += "}]";
  onSmallStack([&] {
    for (const std::string& text : {nested(jsonDepthLimit), mixed}) {
      const auto value = json::decode<JSONValue>(text);
      ASSERT_TRUE(value.has_value());
      EXPECT_EQ(json::encode(*value), text);
      const JSONValue copy = *value;
      EXPECT_EQ(copy, *value);
      EXPECT_EQ(copy.hash(), value->hash());
      std::string bad = text;
      bad[text.find_first_of("1]", 1)] = 'x';
      EXPECT_FALSE(json::decode<JSONValue>(bad).has_value());
    }
    JSONValue deep = 1;
    for (int i = 0; i < 100'000; ++i) {
      JSONValue::Array around(1);
      around[0] = std::move(deep);
      deep = std::move(around);
    }
    JSONValue copy = deep;
    EXPECT_EQ(copy, deep);
    EXPECT_EQ(json::encode(copy).error().stepsOutward.size(), jsonDepthLimit);
    copy = JSONValue::dictionary({{"now", nullptr}});
    deep = std::move(copy);
    EXPECT_TRUE(deep["now"].isNull());
  });
}

}  // namespace
}  // namespace tilvanego
