#pragma once

#include <cstddef>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Where a desktop looks for programs (XDG Base Directory Specification; Association between MIME types and
/// applications 1.0.1). Errors are sentences for the user.
namespace tilvanego::detail {

/// The user's directories; empty if they aren't known.
[[nodiscard]] std::filesystem::path dataHome();
[[nodiscard]] std::filesystem::path configHome();

/// The parts of a variable's list of paths, or of `otherwise` if it is not set or empty.
[[nodiscard]] std::vector<std::string> pathsIn(const char* variable, const char* otherwise);

/// The largest file that is read, in bytes: a list or an entry of the desktop's has some kilobytes.
inline constexpr std::size_t maxListSize = std::size_t{4} << 20U;

/// Returns the content of a regular file of at most `maxListSize`; an empty text if there is none.
[[nodiscard]] std::expected<std::string, std::string> contentOf(const std::filesystem::path& path);

/// A path with what is wrong with it, and the system's message for `errno`.
[[nodiscard]] std::string failureAt(const std::filesystem::path& path, std::string_view what);

/// The desktop entry of a program that handles links.
struct FoundEntry {
  std::filesystem::path entry;
  /// What names it; empty if only the entry itself names the type.
  std::filesystem::path list;
};

/// The entry that opens links with `scheme`: the first that a list names and that exists, else one that names
/// the type itself. Nothing if there is none. Fails if a list can't be read before one is found.
[[nodiscard]] std::expected<std::optional<FoundEntry>, std::string> entryFor(std::string_view scheme);

}  // namespace tilvanego::detail
