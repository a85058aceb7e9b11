#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include <tilvanego/platform/desktop/FileDescriptor.h>
#include <tilvanego/values/Bytes.h>

namespace tilvanego::detail {

/// A lock that is held. It is given back at the end of this, also where a child of the process has inherited
/// its descriptor.
class HeldLock {
 public:
  explicit HeldLock(FileDescriptor file) : file_(std::move(file)) {}
  HeldLock(HeldLock&&) noexcept = default;
  HeldLock& operator=(HeldLock&&) = delete;
  ~HeldLock();

 private:
  FileDescriptor file_;
};

/// A directory of the user's that nobody else can look into, opened once it has been found to be so.
/// Everything in it is reached through its descriptor, so that the directory can't be exchanged for another
/// one meanwhile.
///
/// Errors are sentences for the host's developer, with the path and the system's own words.
class PrivateDirectory {
 public:
  /// Opens `path`, and with `create` makes it if it isn't there. Refused is a symbolic link, and a directory
  /// that isn't the user's own or has any right for others.
  [[nodiscard]] static std::expected<PrivateDirectory, std::string> open(const std::filesystem::path& path,
                                                                         bool create);

  /// The whole of a regular file of the user's own that gives others no right and isn't larger than `limit`
  /// bytes. No value for any other file, and none for no file.
  [[nodiscard]] std::optional<Bytes> read(const std::string& name, std::size_t limit) const;

  /// Puts a file with these bytes there, at once: a reader finds the earlier file or this one. Nobody else
  /// may replace the same file meanwhile; `lock()` sees to that. On an error the earlier file is still there.
  [[nodiscard]] std::expected<void, std::string> replace(const std::string& name,
                                                         std::span<const std::uint8_t> bytes) const;

  /// Removes a file; one that isn't there is removed already.
  [[nodiscard]] std::expected<void, std::string> remove(const std::string& name) const;

  /// Takes the lock of this name, exclusive among all processes and objects. Fails if another one still holds
  /// it after `longestWait`.
  [[nodiscard]] std::expected<HeldLock, std::string> lock(const std::string& name,
                                                          std::chrono::milliseconds longestWait) const;

 private:
  PrivateDirectory(std::filesystem::path path, FileDescriptor directory)
      : path_(std::move(path)), directory_(std::move(directory)) {}

  [[nodiscard]] std::unexpected<std::string> failed(const std::string& name, const char* what) const;

  std::filesystem::path path_;
  FileDescriptor directory_;
};

/// True if `path` is a directory of the user's own, and no symbolic link to one.
[[nodiscard]] bool isOwnDirectory(const std::filesystem::path& path);

}  // namespace tilvanego::detail
