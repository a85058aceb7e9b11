#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace [[gnu::visibility("default")]] tilvanego {

/// MIME types (RFC 6838) by the extension of a file's name, without regard to the case of ASCII letters.
///
/// A table of the common ones, extended by `globs2` files of the shared MIME-info database that desktops
/// keep. Of such a file count the patterns that are "*." and an extension without a further point. Those that
/// regard case are passed over, as is every line that isn't WEIGHT:TYPE:PATTERN. The highest weight wins, and
/// among equals what was said first; the common ones have the usual weight of 50, so that they are the same
/// on every system unless its owner gives another type more weight.
class MIMETypes {
 public:
  /// The common types alone.
  MIMETypes();

  /// The common types and those of the user's and the system's database, by `XDG_DATA_HOME` and
  /// `XDG_DATA_DIRS`, read on the first call. A database that is missing or broken leaves the common ones.
  [[nodiscard]] static const MIMETypes& system();

  /// The type for an extension without its "."; valid as long as this object is unchanged.
  [[nodiscard]] std::optional<std::string_view> typeForExtension(std::string_view extension) const;

  /// Adds the lines of a `globs2` file.
  void addGlobs(std::string_view text);
  /// Adds the `mime/globs2` of each data directory that has one. One of more than 16 MiB is passed over.
  void addDirectories(std::span<const std::filesystem::path> dataDirectories);

 private:
  struct Entry {
    std::string type;
    int weight;
  };
  void add(std::string extension, std::string_view type, int weight);

  std::map<std::string, Entry, std::less<>> entries_;
};

}  // namespace tilvanego

namespace tilvanego::detail {

/// Where a user's and a system's data lie (the XDG base directories), the preferred first. Each value
/// is that of the environment variable of its name, null if it isn't set. Paths that aren't absolute don't
/// count.
[[nodiscard]] std::vector<std::filesystem::path> dataDirectories(const char* xdgDataHome, const char* home,
                                                                 const char* xdgDataDirs);

}  // namespace tilvanego::detail
