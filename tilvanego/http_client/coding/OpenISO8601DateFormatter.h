#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/json/JSONDates.h>
#include <tilvanego/values/Date.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A form of dates as text, with which a host may replace the HTTP client's own. One object serves several
/// threads at once. May throw: the body then counts as one that can't be read or written.
class DateFormatter : public JSONDates {
 public:
  /// The date that the text means, none if it means none.
  [[nodiscard]] virtual std::optional<Date> date(std::string_view text) const = 0;
  [[nodiscard]] virtual std::string string(const Date& date) const = 0;

  std::optional<Date> read(std::string_view text) const final { return date(text); }
  std::optional<std::string> write(const Date& date) const override { return string(date); }
};

/// The dates of the HTTP interface (ISO 8601). Written in UTC with milliseconds, "2024-03-05T10:20:30.123Z";
/// read also without a fraction, with any offset, and as a date alone, "2024-03-05", which is its midnight in
/// UTC. Years have four digits.
class OpenISO8601DateFormatter : public DateFormatter {
 public:
  [[nodiscard]] std::optional<Date> date(std::string_view text) const override;
  /// A date that isn't a number, or of another year, as the nearest one that has a text.
  [[nodiscard]] std::string string(const Date& date) const override;
  /// Nothing for such a date: JSON never says another one.
  std::optional<std::string> write(const Date& date) const override;
};

}  // namespace tilvanego
