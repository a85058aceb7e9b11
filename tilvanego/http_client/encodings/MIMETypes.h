#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// MIME types (RFC 6838) by file extension, case-insensitive for ASCII letters.
///
/// Contains the common types and the types of `globs2` files (freedesktop.org shared MIME-info database). Of
/// such a file the patterns "*.EXTENSION" without a further "." are used; case-sensitive patterns and lines
/// that aren't WEIGHT:TYPE:PATTERN are ignored. For each extension the type with the highest weight is used,
/// among equal weights the one that was added first. The common types have the weight 50.
class MIMETypes {
 public:
  /// Contains the common types only.
  MIMETypes();

  /// The common types and those of the user's and the system's database, found by `XDG_DATA_HOME` and
  /// `XDG_DATA_DIRS` and read on the first call. Files that are missing or invalid are ignored. Any thread
  /// may call this.
  [[nodiscard]] static const MIMETypes& system();

  /// Returns the type of an extension, which is given without ".", or no value. Valid until this object
  /// changes.
  [[nodiscard]] std::optional<std::string_view> typeForExtension(std::string_view extension) const
      TILVANEGO_LIFETIMEBOUND;

  /// Adds the types of a `globs2` file with this content.
  void addGlobs(std::string_view text);
  /// Adds the file `mime/globs2` of each data directory. Files of more than 16 MiB are ignored.
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

/// Returns the data directories of the user and the system (XDG base directories), in order of
/// preference. Each argument is the value of the environment variable, or null. Relative paths are ignored.
[[nodiscard]] std::vector<std::filesystem::path> dataDirectories(const char* xdgDataHome, const char* home,
                                                                 const char* xdgDataDirs);

}  // namespace tilvanego::detail
