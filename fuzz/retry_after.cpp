// A "Retry-After" field. A wait is never negative and never too long. A date that was read is written in the
// usual form, and must read as the same; the wait is the time until then.

#include <chrono>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/network/RetryAfter.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;
using namespace std::chrono;

constexpr sys_seconds now = sys_days(November / 6 / 1994) + 8h + 49min + 37s;

std::string written(sys_seconds time) {
  static constexpr std::array days = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr std::array months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const auto day = floor<std::chrono::days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%s, %02u %s %04d %02d:%02d:%02d GMT",
                days[weekday(day).c_encoding()], static_cast<unsigned>(date.day()),
                months[static_cast<unsigned>(date.month()) - 1], static_cast<int>(date.year()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text.data();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view field = textOf(data, size);
  const seconds longest = years(1);
  const auto wait = detail::retryAfter(field, now);
  require(!wait || (*wait >= 0s && *wait <= longest), "a bounded wait");
  require(detail::retryAfter("5, " + std::string(field), now) == std::max<std::optional<seconds>>(wait, 5s),
          "the longest of several");

  const auto date = detail::parseHTTPDate(detail::trimmedField(field), now);
  if (!date) return 0;
  require(wait == std::clamp<seconds>(*date - now, 0s, longest), "the time until the date");
  // A leap second at the end of the year 9999 is in a year of five digits.
  if (*date < sys_days(January / 1 / 10000)) {
    require(detail::parseHTTPDate(written(*date), now) == date, "reads back");
  }
  return 0;
}
