#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/Date.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The text form of dates in JSON. Several threads may use one object at the same time.
class JSONDates {
 public:
  virtual ~JSONDates() = default;
  /// Returns the date that the text means, or no value if it is not a date.
  [[nodiscard]] virtual std::optional<Date> read(std::string_view text) const = 0;
  /// Returns the text of the date, or no value if the form has no text for it: writing then fails.
  [[nodiscard]] virtual std::optional<std::string> write(const Date& date) const = 0;

  /// Internet date-time in UTC with whole seconds and a trailing Z (ISO 8601, RFC 3339). The default.
  [[nodiscard]] static const JSONDates& internetDateTime();
  /// The form of the terminal's HTTP interface: reads any of its three patterns, writes UTC with
  /// milliseconds.
  [[nodiscard]] static const JSONDates& api();
};

}  // namespace tilvanego
