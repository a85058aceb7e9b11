#include <bit>
#include <cmath>
#include <cstdio>

#include <tilvanego/values/Base64.h>
#include <tilvanego/values/ChronoDate.h>
#include <tilvanego/values/DateFormats.h>
#include <tilvanego/values/DoubleText.h>
#include <tilvanego/values/UUID.h>

#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

std::optional<std::string> hexadecimal(const std::optional<Bytes>& bytes) {
  if (!bytes) return std::nullopt;
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : *bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

// Every byte value, at every place in a group.
Bytes sample(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  return bytes;
}

TEST(Base64, DecodesAsStrictlyAsThePlatform) {
  for (const auto& c : test::vectorCases("base64.json", 27)) {
    EXPECT_EQ(hexadecimal(base64Decode(c["text"].text())), c["bytes"].optionalText()) << c["text"].text();
  }
}

// The test vectors of RFC 4648, section 10.
TEST(Base64, EncodesWithPaddingAndForURLsWithout) {
  constexpr std::pair<std::string_view, std::string_view> cases[] = {
      {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foobar", "Zm9vYmFy"}, {"\xFB\xEF\xFF", "++//"}};
  for (const auto& [plain, text] : cases) {
    EXPECT_EQ(base64Encode(bytesOf(plain)), text);
    std::string forURLs(text.substr(0, text.find('=')));
    std::ranges::replace(forURLs, '+', '-');
    std::ranges::replace(forURLs, '/', '_');
    EXPECT_EQ(base64URLEncode(bytesOf(plain)), forURLs);
  }
}

TEST(Base64, DecodesWhatItEncodesAtEveryLength) {
  for (std::size_t size = 0; size < 1030; ++size) {
    const Bytes bytes = sample(size);
    ASSERT_EQ(base64Decode(base64Encode(bytes)), bytes) << size;
    ASSERT_EQ(base64URLDecode(base64URLEncode(bytes)), bytes) << size;
  }
}

TEST(Base64, FindsOneWrongCharacterAnywhere) {
  const std::string text = base64Encode(sample(48));
  const std::string urlText = base64URLEncode(sample(47));
  const auto spoiled = [](std::string whole, std::size_t at, char c) {
    whole[at] = c;
    return whole;
  };
  for (const char c : {'=', ' ', '\n', '\0', '\x80', '\xFF', '.'}) {
    // At the last place "=" may be padding.
    for (std::size_t at = 0; at + 1 < urlText.size(); ++at) {
      EXPECT_FALSE(base64Decode(spoiled(text, at, c))) << at;
      EXPECT_FALSE(base64URLDecode(spoiled(urlText, at, c))) << at;
    }
  }
}

TEST(Base64, AddsMissingPaddingForURLsAlone) {
  for (const auto text : {"YQ", "YQ=", "YQ=="}) EXPECT_EQ(hexadecimal(base64URLDecode(text)), "61") << text;
  EXPECT_EQ(hexadecimal(base64URLDecode("-_+/")), "fbffbf");
  for (const auto refused :
       {"Y", "YWJjY", "=", "====", "YQ===", "YWJj=", "YWJj====", "Y===", "YQ=A", "YQ\u00E9", "YQ==YQ=="}) {
    EXPECT_EQ(hexadecimal(base64URLDecode(refused)), std::nullopt) << refused;
  }
}

std::optional<std::string> readAndWritten(std::string_view text) {
  return UUID::parse(text).transform([](const UUID& uuid) { return uuid.text(); });
}

TEST(UUID, ReadsTextAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("uuids.json", 5)) {
    EXPECT_EQ(readAndWritten(c["text"].text()), c["value"].optionalText()) << c["text"].text();
  }
}

TEST(UUID, IsWrittenInCapitalsAndReadWithEachHyphenInItsPlace) {
  EXPECT_EQ(readAndWritten("123e4567-e89B-12d3-A456-42661417abcd"), "123E4567-E89B-12D3-A456-42661417ABCD");
  for (const auto text : {"", "123e4567e-89b-12d3-a456-426614174000", "123e4567-e89b-12d3-a456-4266141740000",
                          "+23e4567-e89b-12d3-a456-426614174000", "123e4567 e89b 12d3 a456 426614174000"}) {
    EXPECT_EQ(readAndWritten(text), std::nullopt) << text;
  }
}

TEST(UUID, IsHashedAndWrittenByItsText) {
  const UUID uuid = UUID::parse("123E4567-E89B-12D3-A456-42661417ABCD").value();
  EXPECT_EQ(testing::PrintToString(uuid), uuid.text());
  EXPECT_LT(UUID(), uuid);
  EXPECT_NE(std::hash<UUID>()(uuid), std::hash<UUID>()(UUID()));
}

TEST(UUID, MarksRandomBytesAsVersionFour) {
  UUID::Octets ones;
  ones.fill(0xFF);
  EXPECT_EQ(UUID::fromRandomBytes(ones).text(), "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
  EXPECT_EQ(UUID::fromRandomBytes({}).text(), "00000000-0000-4000-8000-000000000000");
}

TEST(DoubleText, WritesDoublesAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("double-texts.json", 19)) {
    const auto value = std::bit_cast<double>(std::uint64_t{std::stoull(c["bits"].text(), nullptr, 16)});
    EXPECT_EQ(doubleText(value), c["text"].text());
    EXPECT_EQ(doubleJSONText(value), c["json"].text());
  }
}

TEST(DoubleText, TurnsToExponentsBelowOneTenThousandthAndAboveTwoToThe54) {
  EXPECT_EQ(doubleText(0.0001), "0.0001");
  EXPECT_EQ(doubleText(0.00009999), "9.999e-05");
  EXPECT_EQ(doubleText(0x1p54), "18014398509481984.0");
  EXPECT_EQ(doubleText(0x1p54 + 4), "1.8014398509481988e+16");
}

TEST(DoubleText, SaysZeroesSignAndWhatIsNoNumber) {
  EXPECT_EQ(doubleText(-0.0), "-0.0");
  EXPECT_EQ(doubleJSONText(-0.0), "-0");
  const double infinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(doubleText(infinity) + doubleText(-infinity) + doubleText(nan), "inf-infnan");
  for (const double value : {infinity, -infinity, nan}) EXPECT_EQ(doubleJSONText(value), std::nullopt);
}

std::optional<std::string> microseconds(const std::optional<Date>& date) {
  if (!date) return std::nullopt;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.6f", date->secondsSince1970());
  return text.data();
}

TEST(Date, IsASystemTimeAsFarAsThatCounts) {
  using namespace std::chrono;
  const sys_time<milliseconds> now{milliseconds(1'709'634'030'123)};
  EXPECT_EQ(dateFrom(now), readAPIDate("2024-03-05T10:20:30.123Z"));
  EXPECT_EQ(systemTime<milliseconds>(dateFrom(now)), now);
  EXPECT_EQ(systemTime(dateFrom(now)), now);
  EXPECT_EQ(systemTime<seconds>(Date::fromSecondsSince1970(-1.5)), sys_seconds(seconds(-2)));
  EXPECT_EQ(systemTime<duration<double>>(Date::fromSecondsSince1970(0.25))->time_since_epoch().count(), 0.25);
  struct Case {
    double seconds;
    std::int64_t nanoseconds, milliseconds;
  };
  for (const auto& [moment, inNanoseconds, inMilliseconds] : {
           Case{1'709'634'030.1, 1'709'634'030'099'999'905, 1'709'634'030'100},
           Case{-1'709'634'030.1, -1'709'634'030'099'999'905, -1'709'634'030'100},
           // Just below a tie, which the product alone would reach.
           Case{0.0045, 4'500'000, 4},
           Case{-521.0685, -521'068'500'000, -521'068},
           Case{0.5e-9, 1, 0},
           Case{std::nextafter(0.5e-9, 0), 0, 0},
       }) {
    const Date date = Date::fromSecondsSince1970(moment);
    EXPECT_EQ(systemTime<nanoseconds>(date)->time_since_epoch().count(), inNanoseconds) << moment;
    EXPECT_EQ(systemTime<milliseconds>(date)->time_since_epoch().count(), inMilliseconds) << moment;
    if (std::abs(moment) > 1) {
      EXPECT_EQ(dateFrom(*systemTime<nanoseconds>(date)), date);
    }
  }
  // A tie of days, missed by less than a second's last bit.
  EXPECT_EQ(systemTime<days>(Date::fromSecondsSince1970(43'200))->time_since_epoch().count(), 1);
  EXPECT_EQ(
      systemTime<days>(Date::fromSecondsSince1970(std::nextafter(43'200, 0)))->time_since_epoch().count(), 0);
  const Date last = Date::fromSecondsSince1970(9'223'372'036.0);
  EXPECT_TRUE(systemTime<nanoseconds>(last));
  for (const double far : {9'223'372'037.0, -9'223'372'038.0, 1e300, -std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(systemTime<nanoseconds>(Date::fromSecondsSince1970(far))) << far;
  }
  EXPECT_EQ(
      (systemTime<duration<std::int8_t, std::ratio<86'400>>>(Date::fromSecondsSince1970(86'400 * 128.0))),
      std::nullopt);
}

TEST(Date, IsHashedByItsValueAndWrittenWhole) {
  const std::pair<double, std::string_view> cases[] = {
      {1'709'634'030.123, "2024-03-05T10:20:30.123Z"},
      {0.0001, "1970-01-01T00:00:00.000Z (0.0001 s since 1970)"},
      {1e12, "9999-12-31T23:59:59.999Z (1000000000000.0 s since 1970)"},
      {std::numeric_limits<double>::quiet_NaN(), "1970-01-01T00:00:00.000Z (nan s since 1970)"},
  };
  for (const auto& [seconds, text] : cases)
    EXPECT_EQ(testing::PrintToString(Date::fromSecondsSince1970(seconds)), text);
  const auto hash = [](double seconds) { return std::hash<Date>()(Date::fromSecondsSince1970(seconds)); };
  EXPECT_EQ(hash(0.0), hash(-0.0));
  EXPECT_NE(hash(1), hash(2));
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
