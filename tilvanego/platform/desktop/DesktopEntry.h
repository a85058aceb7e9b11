#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The texts of a desktop's applications: desktop entries (Desktop Entry Specification 1.5) and the lists of
/// default applications (Association between MIME types and applications 1.0.1). Each function takes any
/// text.
namespace tilvanego::detail {

/// The entry of a program that handles links with `scheme`. The link follows the words of `command`. Neither
/// of the texts holds a NUL or, in the first word, a "=".
[[nodiscard]] std::string handlerEntry(std::string_view scheme, std::string_view name,
                                       const std::vector<std::string>& command);

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

/// Returns the list with `entry` as the default of a type, before all others. Every other byte stays.
[[nodiscard]] std::string withDefault(std::string_view list, std::string_view type, std::string_view entry);

/// Returns the list without `entry` as the default of a type: what `withDefault` added is gone.
[[nodiscard]] std::string withoutDefault(std::string_view list, std::string_view type,
                                         std::string_view entry);

}  // namespace tilvanego::detail
