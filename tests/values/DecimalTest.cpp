#include <tilvanego/values/Amount.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/DecimalFormatter.h>
#include <tilvanego/values/Literals.h>

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

TEST(Decimal, ReckonsExactlyOrNotAtAll) {
  const std::string largest(largestMantissa);
  using Reckoned = std::optional<Decimal> (Decimal::*)(const Decimal&) const;
  struct Case {
    std::string a;
    Reckoned reckon;
    std::string b;
    std::string result;
  };
  const Case cases[] = {
      {"12.50", &Decimal::plus, "0.05", "12.55"},
      {"0", &Decimal::plus, "1e127", number("1e127").text()},
      // Exact, though the sum of the mantissas has more than 128 bits.
      {largest, &Decimal::plus, "5", "340282366920938463463374607431768211460"},
      {largest, &Decimal::plus, "1", "none"},
      {"1e38", &Decimal::plus, "0.5", "none"},
      {largest + "e127", &Decimal::plus, largest + "e127", "none"},
      {"12.50", &Decimal::minus, "20", "-7.5"},
      {"0", &Decimal::minus, "1e-128", "-" + number("1e-128").text()},
      {"12.50", &Decimal::times, "-3", "-37.5"},
      {"12.50", &Decimal::times, "0.19", "2.375"},
      {largest, &Decimal::times, "0", "0"},
      // Twos and fives of both make tens, which need no mantissa.
      {"1e20", &Decimal::times, "1e20", "1" + std::string(40, '0')},
      {"170141183460469231731687303715884105728", &Decimal::times, "5",
       "850705917302346158658436518579420528640"},
      {"5", &Decimal::times, "170141183460469231731687303715884105728",
       "850705917302346158658436518579420528640"},
      {largest, &Decimal::times, "3", "none"},
      {"1e-100", &Decimal::times, "1e-29", "none"},
      {"1e100", &Decimal::times, "1e30", "1" + std::string(130, '0')},
      {"1e127", &Decimal::times, "1e38", "1" + std::string(165, '0')},
      {"1e127", &Decimal::times, "1e39", "none"},
      {"10e127", &Decimal::times, "0.1", number("1e127").text()},
  };
  for (const auto& [a, reckon, b, result] : cases) {
    EXPECT_EQ(textOrNone((number(a).*reckon)(number(b))), result) << a << " and " << b;
  }
}

TEST(Decimal, RoundsAsTold) {
  using enum Rounding;
  struct Case {
    std::string_view a;
    std::string_view divisor;
    unsigned digits;
    std::string_view halfEven, halfUp, up, down;
  };
  constexpr std::string_view most = "100000000000000000000000000000000000000e127";
  constexpr std::string_view third = "0.33333333333333333333333333333333333333";
  const Case cases[] = {
      {"0.125", "1", 2, "0.12", "0.13", "0.13", "0.12"},
      {"-0.125", "1", 2, "-0.12", "-0.13", "-0.13", "-0.12"},
      {"0.375", "1", 2, "0.38", "0.38", "0.38", "0.37"},
      {"0.5", "1", 0, "0", "1", "1", "0"},
      {"1e-128", "1", 2, "0", "0", "0.01", "0"},
      {"12.50", "1", 2, "12.5", "12.5", "12.5", "12.5"},
      {"1e127", "1", 2, "1e127", "1e127", "1e127", "1e127"},
      // Only the last digit of the quotient tells that this isn't a tie.
      {"0.1250001", "1", 2, "0.13", "0.13", "0.13", "0.12"},
      {"1", "8", 2, "0.12", "0.13", "0.13", "0.12"},
      {"-1", "8", 2, "-0.12", "-0.13", "-0.13", "-0.12"},
      {"1.00000001", "8", 2, "0.13", "0.13", "0.13", "0.12"},
      {"10", "3", 2, "3.33", "3.33", "3.34", "3.33"},
      {"119", "1.19", 2, "100", "100", "100", "100"},
      {"1e-20", "3e20", 2, "0", "0", "0.01", "0"},
      {"2.5e-3", "1e-1", 2, "0.02", "0.03", "0.03", "0.02"},
      {"1e127", "1e-38", 0, most, most, most, most},
      {"1", "3", 38, third, third, "0.33333333333333333333333333333333333334", third},
      // Beyond what a number can hold.
      {"1", "3", 40, "none", "none", "none", "none"},
      {"1", "0", 2, "none", "none", "none", "none"},
      // What fits fits, by whatever way.
      {"1", "1", 129U, "1", "1", "1", "1"},
      {"0", "1", 200U, "0", "0", "0", "0"},
      {"3402823669209384634633746074317682114.41", "-0.99999", 2U, "none", "none",
       "-3402857697786362498258728661604298157.4", "none"},
      {"0.000005", "1.0000000000000000000000000000000000005E-23", 4U, "500000000000000000",
       "500000000000000000", "500000000000000000", "499999999999999999.9999"},
      {"0.000005", "1.0000000000000000000000000000000000005E-23", 60U, "none", "none", "none", "none"},
      {"50000000000000000000000000000e127", "2e-5", 1U, "2500000000000000000000000000000000e127",
       "2500000000000000000000000000000000e127", "2500000000000000000000000000000000e127",
       "2500000000000000000000000000000000e127"},
      {"1", "300000000000000000000000000000000000001", 60U, "3333333333333333333333e-60",
       "3333333333333333333333e-60", "3333333333333333333334e-60", "3333333333333333333333e-60"},
      {"1", "3", 4294967295U, "none", "none", "none", "none"},
      {"1e-128", "2e-1", 128U, "5e-128", "5e-128", "5e-128", "5e-128"},
      {"1e-100", "1.00000000000000000000000000000000000001e99", 300U, "none", "none", "none", "none"},
  };
  for (const auto& [a, divisor, digits, halfEven, halfUp, up, down] : cases) {
    for (const auto& [rounding, text] :
         {std::pair(Rounding::halfEven, halfEven), std::pair(Rounding::halfUp, halfUp),
          std::pair(Rounding::up, up), std::pair(Rounding::down, down)}) {
      SCOPED_TRACE(std::string(a) + " / " + std::string(divisor) + " " + testing::PrintToString(rounding));
      const auto expected = Decimal::parseExact(text);
      EXPECT_EQ(expected.has_value(), text != "none") << text;
      EXPECT_EQ(number(a).dividedBy(number(divisor), digits, rounding), expected);
      if (divisor == "1" && expected) {
        EXPECT_EQ(number(a).rounded(digits, rounding), expected);
      }
    }
  }
}

TEST(Decimal, HasOneHashForEachNumber) {
  std::set<std::size_t> hashes;
  for (const auto text : {"0", "1", "-1", "10", "0.1", "1e127", "18446744073709551616", "12.5", "125"}) {
    hashes.insert(std::hash<Decimal>()(number(text)));
  }
  EXPECT_EQ(hashes.size(), 9U);
  EXPECT_EQ(std::hash<Decimal>()(number("12.50")), std::hash<Decimal>()(number("1.25e1")));
  EXPECT_EQ(std::hash<Decimal>()(number("-0")), std::hash<Decimal>()(Decimal()));
}

TEST(Decimal, LiteralsAreTheNumbersThatTheirTextsAre) {
  static_assert("12.50"_decimal == "12.5"_decimal);
  EXPECT_EQ(testing::PrintToString("12.50"_decimal), "12.5");
  EXPECT_EQ(testing::PrintToString(Rounding::halfUp), "halfUp");
  EXPECT_EQ(testing::PrintToString(static_cast<Rounding>(-1)), "-1");
  for (const std::string_view text :
       {"0", "-0", "007", "-12.50", "1000", "0.001", "18446744073709551615", "1844674407370955161.5"}) {
    EXPECT_EQ(detail::LiteralReader::decimal(text), Decimal::parseExact(text)) << text;
  }
  for (const std::string_view text :
       {"", "-", "12,50", "1.", ".5", "+1", "1e3", " 1", "1.2.3", "--1", "18446744073709551616"}) {
    EXPECT_FALSE(detail::LiteralReader::decimal(text)) << text;
  }
  // Digits that are beyond the smallest exponent, though they are zeros: as `parse` has it.
  EXPECT_FALSE(detail::LiteralReader::decimal("0." + std::string(127, '0') + "10"));
}

TEST(Amounts, AreReadWholeAndShownWithTheDigitsOfTheirCurrency) {
  struct Case {
    std::string_view typed;
    std::string_view currency;
    std::string_view shown;
    char point = '.';
  };
  for (const auto& [typed, currency, shown, point] :
       {Case{"12.50", "EUR", "12.50"},
        Case{"12.5", "EUR", "12.50"},
        Case{"012", "EUR", "12.00"},
        Case{"0.05", "USD", "0.05"},
        Case{"12,50", "EUR", "12,50", ','},
        Case{"1200", "JPY", "1200"},
        Case{"1.5", "KWD", "1.500"},
        Case{"1.2345", "CLF", "1.2345"},
        Case{"1", "ZZZ", "1.00"},
        Case{"12,50", "EUR", "notAnAmount"},
        Case{"12.50", "EUR", "notAnAmount", ','},
        Case{"", "EUR", "notAnAmount"},
        Case{"12.", "EUR", "notAnAmount"},
        Case{".5", "EUR", "notAnAmount"},
        Case{"-1", "EUR", "notAnAmount"},
        Case{"+1", "EUR", "notAnAmount"},
        Case{"1e3", "EUR", "notAnAmount"},
        Case{" 1", "EUR", "notAnAmount"},
        Case{"1.2.3", "EUR", "notAnAmount"},
        Case{"\u0661", "EUR", "notAnAmount"},
        Case{"1.000", "EUR", "tooManyFractionDigits"},
        Case{"1.0", "JPY", "tooManyFractionDigits"},
        Case{"1", "XAU", "unknownCurrency"},
        Case{"1", "eur", "unknownCurrency"},
        Case{"1", "", "unknownCurrency"},
        Case{"340282366920938463463374607431768211456", "EUR", "tooLarge"}}) {
    const auto amount = parseAmount(typed, currency, point);
    const std::string text = amount ? amountText(*amount, currency, point).value_or("no text")
                                    : std::string(rawText(amount.error()));
    EXPECT_EQ(text, shown) << typed << " " << currency;
  }
  EXPECT_EQ(amountText("-12.5"_decimal, "EUR"), "-12.50");
  EXPECT_EQ(amountText("0.125"_decimal, "EUR").error(), AmountError::tooManyFractionDigits);
  EXPECT_EQ(amountText(1, "XAU").error(), AmountError::unknownCurrency);
}

TEST(Decimal, TakesTheShortestDigitsOfADouble) {
  EXPECT_EQ(textOrNone(Decimal::fromDouble(12.1)), "12.1");
  EXPECT_EQ(textOrNone(Decimal::fromDouble(0.1 + 0.2)), "0.30000000000000004");
  EXPECT_EQ(textOrNone(Decimal::fromDouble(0x1p60)), "1152921504606846976");
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
