#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/CaseNames.h>
#include <tilvanego/values/Date.h>

/// Date texts on the wire, profiles of ISO 8601 (RFC 3339). Dates are Gregorian, also before 1582, and years
/// have four digits. An offset is "Z", "+hh", "+hhmm" or "+hh:mm" (or with "-"), up to 23:59. Impossible
/// dates and times are refused: February 30, 24:00, second 60. The whole text must be a date: the readers
/// return no value if anything else stands in it.
///
/// Texts are written in UTC. A date outside the years 0000...9999 is written as the nearest date inside them,
/// and NaN is written as 1970; `hasDateText` returns false for both.
namespace [[gnu::visibility("default")]] tilvanego {

/// Whether the date is a number in the years 0000...9999, so that its text reads back as the same date.
[[nodiscard]] bool hasDateText(const Date& date);

/// Reads "2024-03-05T10:20:30Z". The seconds may have a fraction with any number of digits.
[[nodiscard]] std::optional<Date> readInternetDate(std::string_view text);

/// Returns "2024-03-05T10:20:30Z". The fraction of a second is rounded down, towards the past.
[[nodiscard]] std::string internetDateText(const Date& date);

/// The date patterns of the terminal's HTTP interface, in the order in which a reader tries them.
enum class APIDatePattern {
  milliseconds,  ///< "2024-03-05T10:20:30.123Z"; digits after the third are ignored
  wholeSeconds,  ///< "2024-03-05T10:20:30Z"
  dateOnly,      ///< "2024-03-05", at midnight UTC
};

template <>
inline constexpr bool showsCaseNames<APIDatePattern> = true;

[[nodiscard]] std::optional<Date> readAPIDate(std::string_view text, APIDatePattern pattern);

/// Reads a date by the first pattern that matches.
[[nodiscard]] std::optional<Date> readAPIDate(std::string_view text);

/// Returns "2024-03-05T10:20:30.123Z", rounded to milliseconds, half to even.
[[nodiscard]] std::string apiDateText(const Date& date);

}  // namespace tilvanego
