#include <random>

#include <tilvanego/values/UInt128.h>

#include "tests/support/Test.h"

namespace tilvanego::detail {
namespace {

#ifdef __SIZEOF_INT128__
// The compiler's integer is the model. Parts of all zeros, all ones and a few bits are where carries go
// wrong.
TEST(PortableUInt128, IsTheCompilersInteger) {
  std::mt19937_64 random(20260101);
  const auto part = [&random]() -> std::uint64_t {
    const std::uint64_t bits = random();
    const std::uint64_t forms[] = {bits, bits & 0xFFFF, 0, ~std::uint64_t{0}};
    return forms[random() % 4];
  };
  for (int i = 0; i < 20'000; ++i) {
    const std::uint64_t parts[] = {part(), part(), part(), part()};
    const UInt128 a = UInt128{parts[0]} << 64 | parts[1], b = UInt128{parts[2]} << 64 | parts[3];
    const PortableUInt128 p = PortableUInt128{parts[0]} << 64 | parts[1],
                          q = PortableUInt128{parts[2]} << 64 | parts[3];
    const auto same = [](UInt128 model, PortableUInt128 value) {
      return static_cast<std::uint64_t>(model) == static_cast<std::uint64_t>(value) &&
             static_cast<std::uint64_t>(model >> 64) == static_cast<std::uint64_t>(value >> 64);
    };
    SCOPED_TRACE(i);
    ASSERT_TRUE(same(a + b, p + q) && same(a - b, p - q) && same(a * b, p * q) && same(a & b, p & q));
    if (b != 0) {
      ASSERT_TRUE(same(a / b, p / q) && same(a % b, p % q));
    }
    const auto by = static_cast<unsigned>(random() % 128);
    ASSERT_TRUE(same(a << by, p << by) && same(a >> by, p >> by) && same(~a, ~p));
    ASSERT_EQ(a <=> b, p <=> q);
    UInt128 model = 0;
    PortableUInt128 value;
    ASSERT_EQ(addOverflows(a, b, model), addOverflows(p, q, value));
    ASSERT_TRUE(same(model, value));
    ASSERT_EQ(multiplyOverflows(a, b, model), multiplyOverflows(p, q, value));
    ASSERT_TRUE(same(model, value));
  }
}
#endif

}  // namespace
}  // namespace tilvanego::detail
