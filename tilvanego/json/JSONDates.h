#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/Date.h>

namespace tilvanego {

/// How dates cross the wire as JSON texts. One object may serve several threads at once.
class JSONDates {
 public:
  virtual ~JSONDates() = default;
  /// The date that a text means, nothing if it means none.
  [[nodiscard]] virtual std::optional<Date> read(std::string_view text) const = 0;
  /// Nothing for a date that the form has no text for, which then isn't written.
  [[nodiscard]] virtual std::optional<std::string> write(const Date& date) const = 0;

  /// Internet date-time in UTC with whole seconds and a trailing Z (ISO 8601, RFC 3339): the default
  /// everywhere.
  [[nodiscard]] static const JSONDates& internetDateTime();
  /// The HTTP interface's: read by any of its three patterns, written in UTC with milliseconds.
  [[nodiscard]] static const JSONDates& api();
};

}  // namespace tilvanego
