#pragma once

#include <filesystem>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// The directory for downloaded files: `$XDG_CACHE_HOME/NAME` if that variable is an absolute path, else
/// `$HOME/.cache/NAME`. NAME is the file name of the program unless `setName` sets another. A download may
/// replace any file in this directory, so a program must keep nothing else in it.
///
/// All operations may be called from any thread.
class CachesDirectory {
 public:
  CachesDirectory() = delete;

  /// Sets the name of the directory, such as "com.example.till", for the following downloads. A name that is
  /// empty, "." or "..", or contains "/" or NUL, ends the process.
  static void setName(std::string name);
  [[nodiscard]] static std::string name();

  /// Returns the path without creating the directory. Empty if neither variable is an absolute path.
  [[nodiscard]] static std::filesystem::path path();
};

}  // namespace tilvanego
