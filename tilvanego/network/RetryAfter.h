#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace tilvanego::detail {

/// Parses a date of HTTP (RFC 9110, section 5.6.7): the usual form and the two obsolete ones. The name of the
/// day isn't compared with the date. A year of two digits that would be more than 50 years after `now` is one
/// of the century before.
[[nodiscard]] std::optional<std::chrono::sys_seconds> parseHTTPDate(std::string_view text,
                                                                    std::chrono::sys_seconds now);

/// Returns how long a "Retry-After" field (RFC 9110, section 10.2.3) asks to wait, from 0 to a year. `field`
/// has seconds or a date. Of several, joined by commas as repeated fields are (section 5.3), the longest
/// counts: a wait that is too long does no harm. Other texts among them are ignored. No value if none is
/// valid.
[[nodiscard]] std::optional<std::chrono::seconds> retryAfter(std::string_view field,
                                                             std::chrono::sys_seconds now);

}  // namespace tilvanego::detail
