#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include <tilvanego/sandbox/Outcome.h>

#include "tests/support/TestData.h"

namespace tilvanego::sandbox {
namespace {

Outcome outcomeOf(std::string_view amount) { return outcomeForAmount(*Decimal::parse(amount)); }

TEST(Outcome, TheFractionOfAnAmountDecides) {
  for (const auto& [fraction, outcome] : decidingFractions) {
    EXPECT_EQ(outcomeOf("0." + std::string(fraction)), outcome);
    EXPECT_EQ(outcomeOf("1234." + std::string(fraction) + "0"), outcome);
  }
  for (const std::string_view amount :
       {"0", "1", "101", "12.5", "12.1", "12.10", "12.011", "12.001", "1e2", "1.99"}) {
    EXPECT_EQ(outcomeOf(amount), Outcome::approve) << amount;
  }
}

TEST(Outcome, TheDocumentationShowsEachDecidingFraction) {
  std::ifstream file(test::testDataPath("../../docs/rehearsing.md"));
  const std::string page(std::istreambuf_iterator<char>(file), {});
  for (const auto& [fraction, outcome] : decidingFractions) {
    const std::string row = "| ." + std::string(fraction) + " | `" + std::string(rawText(outcome)) + "` |";
    EXPECT_NE(page.find(row), std::string::npos) << row;
  }
}

}  // namespace
}  // namespace tilvanego::sandbox
