#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>

#include <tilvanego/platform/desktop/FileDescriptor.h>
#include <tilvanego/values/Bytes.h>

namespace tilvanego::detail {

/// A directory of the user's that nobody else can look into, opened once it has been found to be so.
/// Everything in it is reached through its descriptor, so that the directory can't be exchanged for another
/// one meanwhile.
class PrivateDirectory {
 public:
  /// Opens `path`, no symbolic link, and with `create` makes it if it isn't there. Refused with
  /// `permission_denied` is a directory that isn't the user's own or has any right for others; with the
  /// system's error, everything else.
  static std::expected<PrivateDirectory, std::error_code> open(const std::filesystem::path& path,
                                                               bool create);

  /// The whole of a regular file of the user's own that gives others no right and isn't larger than `limit`
  /// bytes. No value for any other file, and none for no file.
  [[nodiscard]] std::optional<Bytes> read(const std::string& name, std::size_t limit) const;

  /// Puts a file with these bytes there, at once: a reader finds the earlier file or this one. Nobody else
  /// may replace the same file meanwhile; `lock()` sees to that.
  [[nodiscard]] std::error_code replace(const std::string& name, std::span<const std::uint8_t> bytes) const;

  /// Removes a file; one that isn't there is removed already.
  [[nodiscard]] std::error_code remove(const std::string& name) const;

  /// Holds the lock of this name, exclusive among all processes and objects, for as long as the descriptor
  /// lives. With `wait` false, another holder is an error, too.
  [[nodiscard]] std::expected<FileDescriptor, std::error_code> lock(const std::string& name, bool wait) const;

 private:
  explicit PrivateDirectory(FileDescriptor directory) : directory_(std::move(directory)) {}

  FileDescriptor directory_;
};

/// True if `path` is a directory of the user's own, and no symbolic link to one.
[[nodiscard]] bool isOwnDirectory(const std::filesystem::path& path);

}  // namespace tilvanego::detail
