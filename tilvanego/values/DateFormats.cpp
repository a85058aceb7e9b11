#include <tilvanego/values/DateFormats.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include <tilvanego/values/ASCII.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using detail::isDigit;
using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr int secondsPerDay = 86'400;
constexpr std::int64_t millisecondsPerDay = 86'400'000;

// Reads a date text part by part. If a part is missing, the position does not change.
class DateScanner {
 public:
  explicit DateScanner(std::string_view text) : rest_(text) {}

  bool atEnd() const { return rest_.empty(); }

  bool take(char expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  std::optional<int> takeNumber(std::size_t digits, int highest) {
    if (rest_.size() < digits || !std::ranges::all_of(rest_.substr(0, digits), isDigit)) return std::nullopt;
    int number = 0;
    for (const char c : rest_.substr(0, digits)) number = number * 10 + (c - '0');
    if (number > highest) return std::nullopt;
    rest_.remove_prefix(digits);
    return number;
  }

  // "yyyy-MM-dd" as seconds since 1970.
  std::optional<std::int64_t> takeDay() {
    const auto year = takeNumber(4, 9999);
    if (!year || !take('-')) return std::nullopt;
    const auto month = takeNumber(2, 12);
    if (!month || !take('-')) return std::nullopt;
    const auto day = takeNumber(2, 31);
    if (!day) return std::nullopt;
    const year_month_day date{std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                              std::chrono::day(static_cast<unsigned>(*day))};
    if (!date.ok()) return std::nullopt;
    return std::int64_t{sys_days(date).time_since_epoch().count()} * secondsPerDay;
  }

  // "HH:mm:ss" as seconds since midnight.
  std::optional<int> takeTime() {
    const auto hour = takeNumber(2, 23);
    if (!hour || !take(':')) return std::nullopt;
    const auto minute = takeNumber(2, 59);
    if (!minute || !take(':')) return std::nullopt;
    const auto second = takeNumber(2, 59);
    if (!second) return std::nullopt;
    return (*hour * 60 + *minute) * 60 + *second;
  }

  // The digits of a "." and at least one digit, else none.
  std::string_view takeFraction() {
    if (!rest_.starts_with('.')) return {};
    const auto end = std::ranges::find_if_not(rest_.substr(1), isDigit);
    const auto digits = rest_.substr(1, static_cast<std::size_t>(end - rest_.begin()) - 1);
    if (!digits.empty()) rest_.remove_prefix(digits.size() + 1);
    return digits;
  }

  // In seconds east of UTC.
  std::optional<int> takeOffset() {
    if (take('Z')) return 0;
    const bool west = rest_.starts_with('-');
    if (!take(west ? '-' : '+')) return std::nullopt;
    const auto hour = takeNumber(2, 23);
    if (!hour) return std::nullopt;
    const bool minuteMustFollow = take(':');
    const auto minute = takeNumber(2, 59);
    if (!minute && minuteMustFollow) return std::nullopt;
    const int offset = (*hour * 60 + minute.value_or(0)) * 60;
    return west ? -offset : offset;
  }

 private:
  std::string_view rest_;
};

double fractionOfSecond(std::string_view digits) {
  // Both integers are exact as doubles, so the division rounds once. Further digits would not change the
  // double.
  double numerator = 0;
  double denominator = 1;
  for (const char c : digits.substr(0, 15)) {
    numerator = numerator * 10 + (c - '0');
    denominator *= 10;
  }
  return numerator / denominator;
}

struct DateTime {
  std::int64_t seconds = 0;
  std::string_view fraction;
};

std::optional<DateTime> readDateTime(std::string_view text) {
  DateScanner scanner(text);
  const auto day = scanner.takeDay();
  if (!day || !scanner.take('T')) return std::nullopt;
  const auto time = scanner.takeTime();
  if (!time) return std::nullopt;
  const std::string_view fraction = scanner.takeFraction();
  const auto offset = scanner.takeOffset();
  if (!offset || !scanner.atEnd()) return std::nullopt;
  return DateTime{*day + *time - *offset, fraction};
}

Date dateOf(const DateTime& dateTime, std::size_t fractionDigits) {
  const double fraction = fractionOfSecond(dateTime.fraction.substr(0, fractionDigits));
  return Date::fromSecondsSince1970(static_cast<double>(dateTime.seconds) + fraction);
}

// The years 0000 to 9999 in seconds since 1970, without the end.
constexpr double firstSecond = -62'167'219'200;
constexpr double endOfSeconds = 253'402'300'800;

double writableSeconds(const Date& date) {
  const double seconds = date.secondsSince1970();
  return std::isnan(seconds) ? 0 : std::clamp(seconds, firstSecond, endOfSeconds - 0.001);
}

void appendNumber(std::string& text, std::int64_t number, std::size_t digits) {
  const std::size_t start = text.size();
  text.resize(start + digits);
  for (std::size_t at = text.size(); at-- > start; number /= 10)
    text[at] = static_cast<char>('0' + number % 10);
}

// "yyyy-MM-ddTHH:mm:ss" of milliseconds since 1970, with a fraction if asked for, and "Z".
std::string dateText(std::int64_t milliseconds, bool withFraction) {
  const std::int64_t ofDay = ((milliseconds % millisecondsPerDay) + millisecondsPerDay) % millisecondsPerDay;
  const auto day = static_cast<int>((milliseconds - ofDay) / millisecondsPerDay);
  const year_month_day date{sys_days(days(day))};
  std::string text;
  text.reserve(24);
  const auto append = [&](char separator, std::int64_t number, std::size_t digits) {
    text += separator;
    appendNumber(text, number, digits);
  };
  appendNumber(text, int{date.year()}, 4);
  append('-', unsigned{date.month()}, 2);
  append('-', unsigned{date.day()}, 2);
  append('T', ofDay / 3'600'000, 2);
  append(':', ofDay / 60'000 % 60, 2);
  append(':', ofDay / 1'000 % 60, 2);
  if (withFraction) append('.', ofDay % 1'000, 3);
  text += 'Z';
  return text;
}

}  // namespace

bool hasDateText(const Date& date) {
  const double seconds = date.secondsSince1970();
  return seconds >= firstSecond && seconds < endOfSeconds;
}

std::optional<Date> readInternetDate(std::string_view text) {
  return readDateTime(text).transform(
      [](const DateTime& read) { return dateOf(read, read.fraction.size()); });
}

std::string internetDateText(const Date& date) {
  return dateText(static_cast<std::int64_t>(std::floor(writableSeconds(date))) * 1'000, false);
}

std::optional<Date> readAPIDate(std::string_view text, APIDatePattern pattern) {
  if (pattern == APIDatePattern::dateOnly) {
    DateScanner scanner(text);
    const auto day = scanner.takeDay();
    if (!day || !scanner.atEnd()) return std::nullopt;
    return Date::fromSecondsSince1970(static_cast<double>(*day));
  }
  const auto read = readDateTime(text);
  const bool wantsFraction = pattern == APIDatePattern::milliseconds;
  if (!read || read->fraction.empty() == wantsFraction) return std::nullopt;
  return dateOf(*read, 3);
}

std::optional<Date> readAPIDate(std::string_view text) {
  for (const auto pattern :
       {APIDatePattern::milliseconds, APIDatePattern::wholeSeconds, APIDatePattern::dateOnly}) {
    if (const auto date = readAPIDate(text, pattern)) return date;
  }
  return std::nullopt;
}

std::string apiDateText(const Date& date) {
  return dateText(static_cast<std::int64_t>(std::nearbyint(writableSeconds(date) * 1'000)), true);
}

}  // namespace tilvanego
