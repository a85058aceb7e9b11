#include <tilvanego/http_client/OpenISO8601DateFormatter.h>
#include <tilvanego/values/DateFormats.h>

namespace tilvanego {

std::optional<Date> OpenISO8601DateFormatter::date(std::string_view text) const { return readAPIDate(text); }

std::string OpenISO8601DateFormatter::string(const Date& date) const { return apiDateText(date); }

}  // namespace tilvanego
