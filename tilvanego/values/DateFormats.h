#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/Date.h>

/// Date texts on the wire, profiles of ISO 8601 (RFC 3339). Dates are Gregorian, also before its
/// introduction, with years of four digits. An offset is "Z", "+hh", "+hhmm" or "+hh:mm" (or with "-"), up to
/// 23:59. What no calendar or clock has is refused: February 30, 24:00, a 60th second. Every text is read
/// from end to end.
///
/// Texts are written in UTC. A date outside the years 0000...9999 is written as the nearest one inside, and
/// one that isn't a number as 1970; `hasDateText` tells before.
namespace [[gnu::visibility("default")]] tilvanego {

/// Whether a date is a number and lies in the years 0000...9999, so that its text is its own.
[[nodiscard]] bool hasDateText(const Date& date);

/// "2024-03-05T10:20:30Z", with an optional fraction of a second of any number of digits.
[[nodiscard]] std::optional<Date> readInternetDate(std::string_view text);

/// "2024-03-05T10:20:30Z": whole seconds, the fraction cut toward the past.
[[nodiscard]] std::string internetDateText(const Date& date);

/// The patterns of the HTTP interface's dates, in the order in which a reader tries them.
enum class APIDatePattern {
  milliseconds,  ///< "2024-03-05T10:20:30.123Z"; digits after the third are read and dropped
  wholeSeconds,  ///< "2024-03-05T10:20:30Z"
  dateOnly,      ///< "2024-03-05", at midnight UTC
};

[[nodiscard]] std::optional<Date> readAPIDate(std::string_view text, APIDatePattern pattern);

/// By the first pattern that fits.
[[nodiscard]] std::optional<Date> readAPIDate(std::string_view text);

/// "2024-03-05T10:20:30.123Z": rounded to milliseconds, half to even.
[[nodiscard]] std::string apiDateText(const Date& date);

}  // namespace tilvanego
