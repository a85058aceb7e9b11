#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/RawQueryItems.h>
#include <tilvanego/values/URL.h>

/// How single items are looked up in a query.
namespace tilvanego::detail {

/// Whether the item is named so, case ignored.
[[nodiscard]] bool isNamed(const RawQueryItem& item, std::string_view name);

/// The decoded value of the first item that has any of these names, case ignored. Nothing if there is none,
/// or if that first one has no value.
[[nodiscard]] std::optional<std::string> queryValue(const URL& url,
                                                    std::initializer_list<std::string_view> names);

/// That value as a count: ASCII digits, with an optional sign before them. Nothing for any other text, for
/// less than zero and for more than 63 bits.
[[nodiscard]] std::optional<std::uint64_t> queryCount(const URL& url,
                                                      std::initializer_list<std::string_view> names);

}  // namespace tilvanego::detail
