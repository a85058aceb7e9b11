#include <bit>

#include <tilvanego/values/DoubleText.h>

#include "tests/support/Test.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

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

}  // namespace
}  // namespace tilvanego
