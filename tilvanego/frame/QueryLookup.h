#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/RawQueryItems.h>
#include <tilvanego/values/URL.h>

/// Finds single items in a query.
namespace tilvanego::detail {

/// Whether the item has this name, without regard to case.
[[nodiscard]] bool isNamed(const RawQueryItem& item, std::string_view name);

/// The decoded value of the first item that has one of these names, without regard to case. Nothing if there
/// is no such item, or if it has no value.
[[nodiscard]] std::optional<std::string> queryValue(const URL& url,
                                                    std::initializer_list<std::string_view> names);

/// The same value as a count: ASCII digits with an optional sign. Nothing for any other text, for a negative
/// number and for one of more than 63 bits.
[[nodiscard]] std::optional<std::uint64_t> queryCount(const URL& url,
                                                      std::initializer_list<std::string_view> names);

}  // namespace tilvanego::detail
