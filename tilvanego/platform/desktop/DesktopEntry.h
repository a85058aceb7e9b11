#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The texts of a desktop's applications: desktop entries (Desktop Entry Specification 1.5) and the lists of
/// default applications (Association between MIME types and applications 1.0.1). Each function takes any
/// text.
namespace tilvanego::detail {

/// The group of a desktop entry's keys.
inline constexpr std::string_view entryGroup = "Desktop Entry";

/// The entry of a program that handles links with `scheme`. The link follows the words of `command`. Neither
/// of the texts holds a NUL or, in the first word, a "=". `madeList` is what `hasMadeList` returns.
[[nodiscard]] std::string handlerEntry(std::string_view scheme, std::string_view name,
                                       const std::vector<std::string>& command, bool madeList);

/// Returns true for what `handlerEntry` returned for this scheme.
[[nodiscard]] bool isHandlerEntry(std::string_view entry, std::string_view scheme);

/// Returns true if the list of default applications was made for this entry, and may end with it.
[[nodiscard]] bool hasMadeList(std::string_view entry);

/// The value of a key of a group, with its escapes replaced; nothing if there is none.
[[nodiscard]] std::optional<std::string> entryValue(std::string_view entry, std::string_view group,
                                                    std::string_view key);

/// The program of an entry's `Exec`: its first word. Nothing if it can't be read.
[[nodiscard]] std::optional<std::string> programOfExec(std::string_view exec);

/// Returns the type of content that stands for links with `scheme`.
[[nodiscard]] std::string contentTypeOf(std::string_view scheme);

/// The entries that a group of a list names for a type, in order.
[[nodiscard]] std::vector<std::string> listedEntries(std::string_view list, std::string_view group,
                                                     std::string_view type);

/// The number of the first line, from 1, for which desktops refuse the whole list; nothing if there is none.
[[nodiscard]] std::optional<std::size_t> refusedLine(std::string_view list);

/// Returns the list with `entry` as the default of a type, before all others. Every other byte stays.
[[nodiscard]] std::string withDefault(std::string_view list, std::string_view type, std::string_view entry);

/// Returns the list without `entry` as the default of a type: what `withDefault` added is gone.
[[nodiscard]] std::string withoutDefault(std::string_view list, std::string_view type,
                                         std::string_view entry);

}  // namespace tilvanego::detail
