#include <tilvanego/network/ContentRange.h>

#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

TEST(ContentRange, IsAPartThatCanBe) {
  using detail::ContentRange;
  const std::pair<const char*, std::optional<ContentRange>> cases[] = {
      {"bytes 0-499/1234", ContentRange{0, 499, 1234}},
      {" Bytes 42-1233/*", ContentRange{42, 1233, {}}},
      {"bytes 0-0/1", ContentRange{0, 0, 1}},
      {"bytes */1234", {}},
      {"bytes 5-4/10", {}},
      {"bytes 0-10/10", {}},
      {"bytes 0-9", {}},
      {"bytes 0/9-10", {}},
      {"bytes -9/10", {}},
      {"bytes 0-18446744073709551616/*", {}},
      {"bytes 0-9/10, bytes 0-9/10", {}},
      {"lines 0-9/10", {}},
      {"bytes 0-9/", {}},
      {"", {}},
  };
  for (const auto& [field, range] : cases) EXPECT_EQ(detail::parseContentRange(field), range) << field;
}

}  // namespace
}  // namespace tilvanego::test
