#include <tilvanego/network/RetryAfter.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Integer.h>

namespace tilvanego::detail {
namespace {

using std::chrono::sys_seconds;

constexpr std::chrono::seconds longestWait = std::chrono::years(1);

/// Reads a text from its start. Each function returns false if the text goes on otherwise.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool literal(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }
  /// Sets `index` to the place of the name among `names`.
  bool name(std::span<const std::string_view> names, unsigned& index) {
    for (index = 0; index < names.size(); ++index) {
      if (literal(names[index])) return true;
    }
    return false;
  }
  bool number(std::size_t digits, unsigned& value) {
    const auto text = rest_.substr(0, digits);
    const auto number = wholeNumber<unsigned>(text);
    if (text.size() != digits || !number) return false;
    rest_.remove_prefix(digits);
    value = *number;
    return true;
  }
  [[nodiscard]] bool isAtEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

constexpr std::array<std::string_view, 7> days = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
constexpr std::array<std::string_view, 7> longDays = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                      "Friday", "Saturday", "Sunday"};
constexpr std::array<std::string_view, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

struct Parts {
  unsigned weekday = 0, year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;

  bool readTime(Scanner& text) {
    return text.number(2, hour) && text.literal(":") && text.number(2, minute) && text.literal(":") &&
           text.number(2, second);
  }
  // Sun, 06 Nov 1994 08:49:37 GMT
  bool readUsual(Scanner text) {
    return text.name(days, weekday) && text.literal(", ") && text.number(2, day) && text.literal(" ") &&
           text.name(months, month) && text.literal(" ") && text.number(4, year) && text.literal(" ") &&
           readTime(text) && text.literal(" GMT") && text.isAtEnd();
  }
  // Sunday, 06-Nov-94 08:49:37 GMT
  bool readRFC850(Scanner text) {
    return text.name(longDays, weekday) && text.literal(", ") && text.number(2, day) && text.literal("-") &&
           text.name(months, month) && text.literal("-") && text.number(2, year) && text.literal(" ") &&
           readTime(text) && text.literal(" GMT") && text.isAtEnd();
  }
  // Sun Nov  6 08:49:37 1994
  bool readAsctime(Scanner text) {
    return text.name(days, weekday) && text.literal(" ") && text.name(months, month) && text.literal(" ") &&
           (text.literal(" ") ? text.number(1, day) : text.number(2, day)) && text.literal(" ") &&
           readTime(text) && text.literal(" ") && text.number(4, year) && text.isAtEnd();
  }
  [[nodiscard]] std::optional<sys_seconds> time() const {
    using namespace std::chrono;
    const year_month_day date(std::chrono::year(static_cast<int>(year)), std::chrono::month(month + 1),
                              std::chrono::day(day));
    // A leap second is the 60th.
    if (!date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
    return sys_days(date) + hours(hour) + minutes(minute) + seconds(second);
  }
};

}  // namespace

std::optional<sys_seconds> parseHTTPDate(std::string_view text, sys_seconds now) {
  const Scanner scanner(text);
  if (Parts parts; parts.readUsual(scanner) || parts.readAsctime(scanner)) return parts.time();
  Parts parts;
  if (!parts.readRFC850(scanner)) return std::nullopt;
  const std::chrono::year_month_day today(std::chrono::floor<std::chrono::days>(now));
  const auto year = static_cast<int>(today.year());
  // The year of these digits in the century up to 50 years from now.
  const int latest = year + 50;
  parts.year = static_cast<unsigned>(latest - (latest - static_cast<int>(parts.year)) % 100);
  return parts.time();
}

namespace {

bool isDay(std::string_view text) {
  return std::ranges::find(days, text) != days.end() || std::ranges::find(longDays, text) != longDays.end();
}

std::optional<std::chrono::seconds> waitOf(std::string_view text, sys_seconds now) {
  if (!text.empty() && std::ranges::all_of(text, isDigit)) {
    // More than the type can count is as long.
    const auto seconds = wholeNumber<std::int64_t>(text).value_or(longestWait.count());
    return std::min(std::chrono::seconds(seconds), longestWait);
  }
  const auto date = parseHTTPDate(text, now);
  if (!date) return std::nullopt;
  return std::clamp<std::chrono::seconds>(*date - now, std::chrono::seconds(0), longestWait);
}

}  // namespace

std::optional<std::chrono::seconds> retryAfter(std::string_view field, sys_seconds now) {
  std::optional<std::chrono::seconds> longest;
  for (bool goesOn = true; goesOn;) {
    auto end = field.find(',');
    // The comma after the name of a day is one of the date.
    if (isDay(trimmedField(field.substr(0, end)))) end = field.find(',', std::min(end, field.size() - 1) + 1);
    longest = std::max(longest, waitOf(trimmedField(field.substr(0, end)), now));
    goesOn = end != std::string_view::npos;
    if (goesOn) field.remove_prefix(end + 1);
  }
  return longest;
}

}  // namespace tilvanego::detail
