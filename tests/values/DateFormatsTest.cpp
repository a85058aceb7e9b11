#include <cstdio>

#include <tilvanego/values/DateFormats.h>

#include "tests/support/Test.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

std::optional<std::string> microseconds(const std::optional<Date>& date) {
  if (!date) return std::nullopt;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.6f", date->secondsSince1970());
  return text.data();
}

TEST(DateFormats, ReadsInternetDatesAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("dates-internet.json", 13)) {
    EXPECT_EQ(microseconds(readInternetDate(c["text"].text())), c["seconds"].optionalText())
        << c["text"].text();
  }
}

TEST(DateFormats, ReadsDatesByEachPatternAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("dates-api.json", 22)) {
    const std::string& text = c["text"].text();
    const auto read = [&](APIDatePattern pattern) { return microseconds(readAPIDate(text, pattern)); };
    EXPECT_EQ(read(APIDatePattern::milliseconds), c["first"].optionalText()) << text;
    EXPECT_EQ(read(APIDatePattern::wholeSeconds), c["second"].optionalText()) << text;
    EXPECT_EQ(read(APIDatePattern::dateOnly), c["third"].optionalText()) << text;
    EXPECT_EQ(microseconds(readAPIDate(text)), c["result"].optionalText()) << text;
  }
}

TEST(DateFormats, WritesDatesAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("dates-writing.json", 17)) {
    const Date date = Date::fromSecondsSince1970(c["seconds"].number());
    EXPECT_EQ(internetDateText(date), c["internet"].text()) << c["seconds"].literal();
    EXPECT_EQ(apiDateText(date), c["api"].text()) << c["seconds"].literal();
  }
}

TEST(DateFormats, RefusesWhatNoCalendarOrClockHas) {
  for (const auto text : {"2023-02-29T00:00:00Z", "1900-02-29T00:00:00Z", "2024-04-31T00:00:00Z",
                          "2024-03-05T24:00:00Z", "2024-03-05T10:60:00Z", "2024-03-05T10:20:60Z",
                          "2024-03-05T10:20:30+24:00", "2024-03-05T10:20:30+01:60", "2024-03-05T10:20:30+01:",
                          "2024-03-05T10:20:30+1", "2024-03-05T10:20:30.Z", "2024-03-05T10:20:30ZZ",
                          "2024-03-05t10:20:30z", "2024-3-5T10:20:30Z", "+2024-03-05T10:20:30Z",
                          "12024-03-05T10:20:30Z", " 2024-03-05T10:20:30Z", "2024-03-05T10:20:30,5Z"}) {
    EXPECT_EQ(microseconds(readInternetDate(text)), std::nullopt) << text;
    EXPECT_EQ(microseconds(readAPIDate(text)), std::nullopt) << text;
  }
}

TEST(DateFormats, ReadsAFractionOfAnyLength) {
  EXPECT_EQ(microseconds(readInternetDate("1970-01-01T00:00:00.5Z")), "0.500000");
  EXPECT_EQ(microseconds(readInternetDate("1970-01-01T00:00:00." + std::string(10'000, '9') + "Z")),
            "1.000000");
  EXPECT_EQ(microseconds(readAPIDate("1970-01-01T00:00:00." + std::string(10'000, '9') + "Z")), "0.999000");
}

TEST(DateFormats, KeepsWrittenDatesWithinFourDigitYears) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double late : {253402300800.0, 1e300, infinity}) {
    EXPECT_EQ(internetDateText(Date::fromSecondsSince1970(late)), "9999-12-31T23:59:59Z") << late;
    EXPECT_EQ(apiDateText(Date::fromSecondsSince1970(late)), "9999-12-31T23:59:59.999Z") << late;
  }
  for (const double early : {-62167219200.5, -1e300, -infinity}) {
    EXPECT_EQ(apiDateText(Date::fromSecondsSince1970(early)), "0000-01-01T00:00:00.000Z") << early;
  }
  const Date none = Date::fromSecondsSince1970(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(internetDateText(none), "1970-01-01T00:00:00Z");
}

TEST(DateFormats, ReadsBackTheDaysThatItWrites) {
  for (double day = -62'167'219'200; day <= 253'402'300'799; day += 86'400 * 97.0) {
    const Date date = Date::fromSecondsSince1970(day);
    ASSERT_EQ(readInternetDate(internetDateText(date)), date);
    ASSERT_EQ(readAPIDate(apiDateText(date), APIDatePattern::milliseconds), date);
  }
}

}  // namespace
}  // namespace tilvanego
