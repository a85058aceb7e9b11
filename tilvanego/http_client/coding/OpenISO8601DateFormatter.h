#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/json/JSONDates.h>
#include <tilvanego/values/Date.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A text format of dates. A host may derive from it to replace the HTTP client's format. Several threads may
/// call one object at once. May throw: the body then counts as one that can't be decoded or encoded.
class DateFormatter : public JSONDates {
 public:
  /// Parses a date. Returns no value if the text isn't a date of this format.
  [[nodiscard]] virtual std::optional<Date> date(std::string_view text) const = 0;
  /// Formats a date.
  [[nodiscard]] virtual std::string string(const Date& date) const = 0;

  std::optional<Date> read(std::string_view text) const final { return date(text); }
  std::optional<std::string> write(const Date& date) const override { return string(date); }
};

/// The date format of the HTTP interface (ISO 8601, years of four digits). Writes UTC with milliseconds, such
/// as "2024-03-05T10:20:30.123Z". Also reads times without a fraction, times with an offset, and a date
/// without a time, such as "2024-03-05", as midnight in UTC.
class OpenISO8601DateFormatter : public DateFormatter {
 public:
  [[nodiscard]] std::optional<Date> date(std::string_view text) const override;
  /// For a date that isn't a number, or whose year doesn't have four digits, returns the text of the nearest
  /// date that has one.
  [[nodiscard]] std::string string(const Date& date) const override;
  /// Returns no value for such a date, so that JSON never contains another date.
  std::optional<std::string> write(const Date& date) const override;
};

}  // namespace tilvanego
