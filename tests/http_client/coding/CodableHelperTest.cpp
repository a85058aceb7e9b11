#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/http_client/coding/JSONEncodingHelper.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/json/Record.h>
#include <tilvanego/json/ValueCodecs.h>

#include "tests/support/Test.h"
#include "tests/support/Threads.h"

namespace tilvanego {
namespace {

struct Visit {
  std::optional<std::string> zone;
  Date at;
  std::optional<double> amount;

  static constexpr auto jsonFields() {
    return json::fields(json::field("zone", &Visit::zone), json::field("at", &Visit::at),
                        json::field("amount", &Visit::amount));
  }
};

/// "@" and whole seconds since 1970.
class SecondsFormatter final : public DateFormatter {
 public:
  std::optional<Date> date(std::string_view text) const override {
    if (!text.starts_with('@')) return std::nullopt;
    return Date::fromSecondsSince1970(std::stod(std::string(text.substr(1))));
  }
  std::string string(const Date& date) const override {
    return '@' + std::to_string(static_cast<std::int64_t>(date.secondsSince1970()));
  }
};

const Date moment = Date::fromSecondsSince1970(1709634030.5);
const auto secondsFormatter = std::make_shared<const SecondsFormatter>();

std::string encoded(const CodableHelper& helper) {
  const auto body = helper.encode(std::vector{moment});
  return body ? std::string(body->text()) : body.error().description();
}

std::optional<double> decoded(const CodableHelper& helper, const std::string& text) {
  const auto dates = helper.decode<std::vector<Date>>(Data("[\"" + text + "\"]"));
  if (!dates) return std::nullopt;
  return dates->front().secondsSince1970();
}

TEST(CodableHelper, PrintsPrettilyInTheOrderOfTheTable) {
  const CodableHelper helper;
  const auto body = helper.encode(Visit{"B", moment, 1.5});
  ASSERT_TRUE(body);
  EXPECT_EQ(body->text(), R"({
  "zone" : "B",
  "at" : "2024-03-05T10:20:30.500Z",
  "amount" : 1.5
})");
  const auto back = helper.decode<Visit>(*body);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->zone, "B");
  EXPECT_EQ(back->at, moment);
}

TEST(CodableHelper, HandsOnTheJSONLayersOwnFailure) {
  const CodableHelper helper;
  const auto noDate = helper.decode<Visit>(Data(R"({"at": "2024-03-05T10:20"})"));
  ASSERT_FALSE(noDate);
  EXPECT_EQ(noDate.error().failure, JSONFailure::invalidValue);
  EXPECT_EQ(noDate.error().path(), "at");

  EXPECT_EQ(helper.decode<Visit>(Data()).error().failure, JSONFailure::unexpectedEnd);
  EXPECT_EQ(helper.decode<bool>(Data("true x")).error().failure, JSONFailure::trailingContent);
  EXPECT_EQ(helper.decode<std::string>(Data("\"\xFF\"")).error().failure, JSONFailure::invalidUTF8);

  const auto notFinite = helper.encode(Visit{{}, moment, std::numeric_limits<double>::infinity()});
  ASSERT_FALSE(notFinite);
  EXPECT_EQ(notFinite.error().failure, JSONFailure::notFinite);
  EXPECT_EQ(notFinite.error().path(), "amount");

  const auto noYear = helper.encode(Visit{{}, Date::fromSecondsSince1970(1e12), {}});
  ASSERT_FALSE(noYear);
  EXPECT_EQ(noYear.error().report(), "at: a date outside the years that can be written");
}

TEST(CodableHelper, RefusesABodyBeyondTheDecodersLimits) {
  CodableHelper helper;
  EXPECT_TRUE(helper.decode<JSONValue>(Data("[[0],[0]]")));
  helper.updateJsonDecoder([](JSONDecoder& decoder) { decoder.limits = {.elements = 3}; });
  EXPECT_EQ(helper.decode<JSONValue>(Data("[[0],[0]]")).error().report(),
            "[1]: more than 3 elements (byte 6)");
}

TEST(CodableHelper, AFormatterThatThrowsIsAFailure) {
  class Throwing final : public DateFormatter {
   public:
    std::optional<Date> date(std::string_view) const override { throw std::runtime_error("no calendar"); }
    std::string string(const Date&) const override { throw 1; }
  };
  CodableHelper helper;
  helper.setDateFormatter(std::make_shared<const Throwing>());
  const auto read = helper.decode<Visit>(Data(R"({"at": "2024-03-05"})"));
  ASSERT_FALSE(read);
  EXPECT_EQ(read.error().failure, JSONFailure::invalidValue);
  const auto written = helper.encode(Visit{{}, moment, {}});
  ASSERT_FALSE(written);
  EXPECT_EQ(written.error().failure, JSONFailure::invalidValue);
}

TEST(CodableHelper, AppliesAFormatterAtOnceAndGoesBackToTheDefaultWithoutOne) {
  CodableHelper helper;
  helper.setDateFormatter(secondsFormatter);
  EXPECT_EQ(helper.dateFormatter(), secondsFormatter);
  EXPECT_EQ(encoded(helper), "[\n  \"@1709634030\"\n]");
  EXPECT_EQ(decoded(helper, "@5"), 5.0);
  EXPECT_EQ(decoded(helper, "2024-03-05"), std::nullopt);

  helper.setDateFormatter(nullptr);
  EXPECT_NE(helper.dateFormatter(), nullptr);
  EXPECT_EQ(encoded(helper), "[\n  \"2024-03-05T10:20:30.500Z\"\n]");
  EXPECT_EQ(decoded(helper, "2024-03-05"), 1709596800.0);
}

TEST(CodableHelper, LeavesTheDatesOfACustomCoderAlone) {
  CodableHelper helper;
  helper.setJsonDecoder({});
  helper.setJsonEncoder({.sortedKeys = true});
  helper.setDateFormatter(secondsFormatter);
  EXPECT_EQ(decoded(helper, "2024-03-05T10:20:30Z"), 1709634030.0);
  EXPECT_EQ(decoded(helper, "@5"), std::nullopt);
  EXPECT_EQ(encoded(helper), R"(["2024-03-05T10:20:30Z"])") << "compact, as this encoder says";
}

TEST(CodableHelper, UpdatesWhatIsInEffect) {
  CodableHelper helper;
  helper.updateJsonEncoder([](JSONEncoder& encoder) {
    EXPECT_TRUE(encoder.prettyPrinted);
    encoder.prettyPrinted = false;
  });
  EXPECT_EQ(encoded(helper), R"(["2024-03-05T10:20:30.500Z"])");
  helper.updateJsonDecoder([](JSONDecoder& decoder) { decoder.dateDecodingStrategy = secondsFormatter; });
  EXPECT_EQ(decoded(helper, "@5"), 5.0);

  CodableHelper other;
  other.updateDateFormatter([&](CodableHelper::DateFormatterPointer& formatter) {
    EXPECT_EQ(formatter, other.dateFormatter()) << "the lock is recursive";
    formatter = secondsFormatter;
  });
  EXPECT_EQ(decoded(other, "@5"), 5.0);
  EXPECT_THROW(other.updateDateFormatter([](CodableHelper::DateFormatterPointer& formatter) {
    formatter = nullptr;
    throw std::runtime_error("no");
  }),
               std::runtime_error);
  EXPECT_EQ(other.dateFormatter(), secondsFormatter) << "a failed update sets nothing";
}

TEST(CodableHelper, LetsASubclassSeeEveryBody) {
  class Counting final : public CodableHelper {
   public:
    mutable std::size_t bytes = 0;

   protected:
    std::expected<void, JSONError> decodeBody(const Data& body,
                                              const std::function<bool(json::Reader&)>& read) const override {
      bytes += body.size();
      return CodableHelper::decodeBody(body, read);
    }
  };
  const Counting helper;
  EXPECT_EQ(helper.decode<int>(Data("1234")), 1234);
  EXPECT_EQ(helper.bytes, 4u);
}

TEST(CodableHelper, IsUsedFromSeveralThreadsWhileItsSettingsChange) {
  CodableHelper helper;
  helper.updateJsonEncoder([](JSONEncoder& encoder) { encoder.prettyPrinted = false; });
  const auto encode = [&](int) {
    for (int round = 0; round < 200; ++round) {
      const auto body = encoded(helper);
      EXPECT_TRUE(body == R"(["@1709634030"])" || body == R"(["2024-03-05T10:20:30.500Z"])") << body;
    }
  };
  test::inThreads(4, encode, [&] {
    for (int round = 0; round < 200; ++round) {
      helper.setDateFormatter(round % 2 == 0 ? secondsFormatter : nullptr);
      EXPECT_EQ(helper.decode<int>(Data("5")), 5);
    }
  });
}

TEST(JSONEncodingHelper, CarriesTheBodyOrPrintsWhyThereIsNone) {
  const CodableHelper helper;
  EXPECT_EQ(JSONEncodingHelper::encodingParameters(std::optional<int>(), helper), std::nullopt);
  EXPECT_EQ(JSONEncodingHelper::encodingParameters(std::optional<int>(6), helper),
            (Parameters{{"jsonData", Data("6")}}));

  testing::internal::CaptureStdout();
  const double infinite = std::numeric_limits<double>::infinity();
  EXPECT_EQ(JSONEncodingHelper::encodingParameters(Visit{{}, moment, infinite}, helper), std::nullopt);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "the number is not finite at amount\n");
}

}  // namespace
}  // namespace tilvanego
