#pragma once

#include <filesystem>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// The directory for what the program downloads: one of its own in the user's caches directory, so that no
/// server reaches the files of another program. `$XDG_CACHE_HOME/NAME` if that variable is an absolute path,
/// else `$HOME/.cache/NAME`. What a server sends may replace any file there: the program keeps nothing else
/// in it.
///
/// All operations may be called from any thread.
class CachesDirectory {
 public:
  CachesDirectory() = delete;

  /// Gives the directory another name than that of the program's file, such as "com.example.till"; from the
  /// next download on. A name that isn't a single one (empty, "." or "..", or with "/" or NUL) ends the
  /// process.
  static void setName(std::string name);
  [[nodiscard]] static std::string name();

  /// Nothing is made here. Empty if neither variable is an absolute path.
  [[nodiscard]] static std::filesystem::path path();
};

}  // namespace tilvanego
