#include <tilvanego/http_client/coding/OpenISO8601DateFormatter.h>

#include <tilvanego/values/DateFormats.h>

namespace [[gnu::visibility("default")]] tilvanego {

std::optional<Date> OpenISO8601DateFormatter::date(std::string_view text) const { return readAPIDate(text); }

std::string OpenISO8601DateFormatter::string(const Date& date) const { return apiDateText(date); }

std::optional<std::string> OpenISO8601DateFormatter::write(const Date& date) const {
  return hasDateText(date) ? std::optional(string(date)) : std::nullopt;
}

}  // namespace tilvanego
