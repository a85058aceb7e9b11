#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/DecimalFormatter.h>

#include "tests/support/Test.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

// A text that must be a number.
Decimal number(std::string_view text) {
  const auto value = Decimal::parse(text);
  EXPECT_TRUE(value) << text;
  return value.value_or(Decimal());
}

std::string textOrNone(const std::optional<Decimal>& value) { return value ? value->text() : "none"; }

constexpr std::string_view largestMantissa = "340282366920938463463374607431768211455";

TEST(Decimal, ReadsTextAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("decimal-parsing.json", 150)) {
    const std::string& text = c["text"].text();
    EXPECT_EQ(textOrNone(Decimal::parse(text)), c["value"].optionalText().value_or("none")) << text;
  }
}

TEST(Decimal, AddsAndComparesAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("decimal-arithmetic.json", 30)) {
    const Decimal a = number(c["a"].text());
    const Decimal b = number(c["b"].text());
    EXPECT_EQ((a + b).text(), c["sum"].text());
    EXPECT_EQ((b + a).text(), c["sum"].text());
    EXPECT_EQ(a < b, c["less"].boolean()) << a.text() << " and " << b.text();
    EXPECT_EQ(b > a, c["less"].boolean()) << a.text() << " and " << b.text();
    EXPECT_EQ(a == b, c["equal"].boolean()) << a.text() << " and " << b.text();
  }
}

// One case is not held: the platform makes "0.003" of 0.0035, though the even neighbour of that tie is 0.004
// and it takes the even one for every other tie here.
TEST(Decimal, FormatsAsThePlatformDoesButForOneTie) {
  for (const auto& c : test::vectorCases("decimal-formatting.json", 93)) {
    const std::string& value = c["value"].text();
    const std::string expected = value == "0.0035" ? "0.004" : c["text"].text();
    EXPECT_EQ(formattedDecimal(number(value)), expected) << value;
  }
}

TEST(Decimal, FormatsExactlyWhateverTheNumberOfDigits) {
  EXPECT_EQ(formattedDecimal(number("12345678901234567890123456789012345.0005")),
            "12345678901234567890123456789012345");
  EXPECT_EQ(formattedDecimal(number("12345678901234567890123456789012345.0015")),
            "12345678901234567890123456789012345.002");
  EXPECT_EQ(formattedDecimal(number("0.00050000000000000000000000000000000000001")), "0.001");
  EXPECT_EQ(formattedDecimal(number("1e-128")), "0");
  EXPECT_EQ(formattedDecimal(number("-1e-128")), "-0");
  EXPECT_EQ(formattedDecimal(number("-0")), "0");
}

TEST(Decimal, HasOneFormForEachNumber) {
  EXPECT_EQ(number("10e127"), number("1" + std::string(128, '0')));
  for (const auto zero : {"-0", "0e999", "-0e-999", "0e99999999999999999999"}) {
    EXPECT_EQ(number(zero), Decimal()) << zero;
    EXPECT_FALSE(number(zero).isNegative()) << zero;
  }
  EXPECT_EQ(-Decimal(0), Decimal());
}

TEST(Decimal, HoldsEveryInteger) {
  EXPECT_EQ(Decimal(std::numeric_limits<std::int64_t>::min()).text(), "-9223372036854775808");
  EXPECT_EQ(Decimal(std::numeric_limits<std::uint64_t>::max()).text(), "18446744073709551615");
  EXPECT_EQ(Decimal(std::int8_t{-128}).text(), "-128");
  EXPECT_GT(number("0.01"), 0);
  EXPECT_LT(number("-0.01"), 0);
}

TEST(Decimal, OrdersBySignAndMagnitudeAtAnyScale) {
  const std::array ordered{number("-3e127"),  number("-1e40"), number("-1.5"),
                           number("-1e-128"), Decimal(),       number("1e-128"),
                           number("0.3"),     number("1e38"),  number(largestMantissa),
                           number("1e39"),    number("1e127")};
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    for (std::size_t j = 0; j < ordered.size(); ++j) {
      EXPECT_EQ(ordered[i] <=> ordered[j], i <=> j) << ordered[i].text() << " and " << ordered[j].text();
    }
  }
}

TEST(Decimal, ReadsTheNumberThatTextBeginsWithRoundedHalfToEven) {
  const std::string largest(largestMantissa);
  const std::string one38 = "1" + std::string(38, '0');
  const std::pair<std::string, std::string> cases[] = {
      {" \t\r\n\v\f12abc", "12"},
      {"1e+", "1"},
      {"1e-x", "1"},
      {"1..5", "1"},
      {std::string(100'000, '0') + "7." + std::string(100'000, '0'), "7"},
      {largest + ".4", largest},
      // 2^128 itself has one digit less to stand on.
      {"340282366920938463463374607431768211456", "340282366920938463463374607431768211460"},
      {largest + ".5", "340282366920938463463374607431768211460"},
      {one38 + ".5", one38},
      {"100000000000000000000000000000000000001.5", "100000000000000000000000000000000000002"},
      {one38 + ".50001", "100000000000000000000000000000000000001"},
      {std::string(1000, '9'), "none"},
      {"0." + std::string(1000, '0') + "1", "none"},
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(textOrNone(Decimal::parse(text)), value);
  for (const auto text : {" ", "-", "-.", "e5", ".e5", "+-1", "- 1", "-e", "\u00A01", "10e-129",
                          "1e9999999999999999999999", "1.5e-128"}) {
    EXPECT_EQ(textOrNone(Decimal::parse(text)), "none") << text;
  }
}

TEST(Decimal, ReadsItsOwnTextBackAtTheEdgesOfItsRange) {
  for (const std::string sign : {"", "-"}) {
    for (const std::string exponent : {"e127", "e126", "e0", "e-1", "e-38", "e-39", "e-40", "e-128"}) {
      for (const std::string_view digits : {largestMantissa, std::string_view("1"), std::string_view("10")}) {
        const Decimal value = number(sign + std::string(digits) + exponent);
        EXPECT_EQ(textOrNone(Decimal::parse(value.text())), value.text());
        EXPECT_EQ(Decimal::parse(value.text()), value);
        EXPECT_LE(value.text().size(), 167U);
      }
    }
  }
}

TEST(Decimal, AddsExactlyWhileItsMantissaSufficesAndRoundsHalfToEven) {
  const std::string one38 = "1" + std::string(38, '0');
  const std::string largest = std::string(largestMantissa) + "e127";
  const std::array<std::string, 3> cases[] = {
      {"1e37", "0.1", "10000000000000000000000000000000000000.1"},
      {std::string(largestMantissa), "-1", "340282366920938463463374607431768211454"},
      {"1e-128", "-1e-128", "0"},
      {"1e100", "0", number("1e100").text()},
      // 38 or 39 digits remain.
      {"1e38", "0.5", one38},
      {"1e38", "0.51", "100000000000000000000000000000000000001"},
      {"1e38", "-0.6", std::string(38, '9')},
      {"1e38", "-1e-128", one38},
      {"1e127", "1e-128", number("1e127").text()},
      {std::string(largestMantissa), "1", "340282366920938463463374607431768211460"},
      {std::string(largestMantissa), std::string(largestMantissa), "680564733841876926926749214863536422910"},
      // The largest magnitude stays.
      {largest, largest, number(largest).text()},
      {"-" + largest, "-" + largest, number("-" + largest).text()},
      {largest, "-" + largest, "0"},
  };
  for (const auto& [a, b, sum] : cases) EXPECT_EQ((number(a) + number(b)).text(), sum) << a << " + " << b;
}

TEST(Decimal, TakesTheShortestDigitsOfADouble) {
  EXPECT_EQ(textOrNone(Decimal::fromDouble(12.1)), "12.1");
  EXPECT_EQ(textOrNone(Decimal::fromDouble(0.1 + 0.2)), "0.30000000000000004");
  EXPECT_EQ(textOrNone(Decimal::fromDouble(-0.0)), "0");
  EXPECT_EQ(textOrNone(Decimal::fromDouble(-1e21)), "-1000000000000000000000");
  EXPECT_EQ(textOrNone(Decimal::fromDouble(1e127)), "1" + std::string(127, '0'));
  for (const double refused :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity(), 1e128, 1e-129, 5e-324}) {
    EXPECT_FALSE(Decimal::fromDouble(refused)) << refused;
  }
}

TEST(Decimal, ParseExactTakesNumbersFromEndToEndAlone) {
  for (const auto text : {"0", "-12.50", "+007", "1e3", "1.25E-2"}) {
    EXPECT_EQ(Decimal::parseExact(text), Decimal::parse(text)) << text;
    EXPECT_TRUE(Decimal::parseExact(text)) << text;
  }
  EXPECT_TRUE(Decimal::parseExact(largestMantissa));
  for (const auto text : {"", "-", " 1", "1 ", "1.", ".5", "1,5", "1e", "1e+", "1x", "0x10", "1e128", "1_000",
                          "340282366920938463463374607431768211456", "1.2.3"}) {
    EXPECT_EQ(textOrNone(Decimal::parseExact(text)), "none") << text;
  }
}

}  // namespace
}  // namespace tilvanego
