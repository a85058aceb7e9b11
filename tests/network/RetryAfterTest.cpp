#include <chrono>

#include <tilvanego/network/RetryAfter.h>

#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

using namespace std::chrono;

// The date of RFC 9110's examples, Sunday, 6 November 1994, 08:49:37.
constexpr sys_seconds example = sys_days(November / 6 / 1994) + 8h + 49min + 37s;

TEST(RetryAfter, HasSecondsOrADateInOneOfThreeForms) {
  const auto longest = seconds(years(1));
  const std::pair<const char*, std::optional<seconds>> cases[] = {
      {"120", 120s},
      {" 0\t", 0s},
      {"99999999999999999999999", longest},
      {"40000000", longest},
      {"Sun, 06 Nov 1994 08:49:37 GMT", 60s},
      {"Sunday, 06-Nov-94 08:49:37 GMT", 60s},
      {"Sun Nov  6 08:49:37 1994", 60s},
      {"Wed Nov 16 08:49:37 1994", 60s + days(10)},
      {"Sun, 06 Nov 1994 08:48:60 GMT", 23s},
      {"Sun, 06 Nov 1994 08:48:36 GMT", 0s},
      {"Sat, 06 Nov 1993 08:49:37 GMT", 0s},
      {"Wed, 06 Nov 2024 08:49:37 GMT", longest},
      // A year more than 50 years on is one of the century before.
      {"Sunday, 06-Nov-44 08:49:37 GMT", longest},
      {"Sunday, 06-Nov-45 08:49:37 GMT", 0s},
      // Repeated fields.
      {"120, 7", 120s},
      {"7,120, soon", 120s},
      {"7, Sunday, 06-Nov-94 08:49:37 GMT, Sun, 06 Nov 1994 08:48:47 GMT", 60s},
      {"Sun Nov  6 08:49:37 1994, 7", 60s},
      {"Sun, 120", {}},
      {"Sun", {}},
      {", ,", {}},
      {"", {}},
      {"-1", {}},
      {"+1", {}},
      {"1.5", {}},
      {"1 2", {}},
      {"soon", {}},
      {"Sun, 06 Nov 1994 08:49:37 UTC", {}},
      {"Sun, 06 Nov 1994 08:49:37 GMT+1", {}},
      {"Sun, 31 Nov 1994 08:49:37 GMT", {}},
      {"Sun, 06 Nov 1994 24:00:00 GMT", {}},
      {"Sun, 06 Nov 1994 08:49:+7 GMT", {}},
      {"Sun, 6 Nov 1994 08:49:37 GMT", {}},
  };
  for (const auto& [field, wait] : cases) EXPECT_EQ(detail::retryAfter(field, example - 60s), wait) << field;
}

}  // namespace
}  // namespace tilvanego::test
