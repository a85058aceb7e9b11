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

#include <sys/stat.h>

#include <tilvanego/platform/FileDescriptor.h>
#include <tilvanego/platform/FileReplacement.h>
#include <tilvanego/platform/desktop/FileLock.h>
#include <tilvanego/values/Bytes.h>

namespace tilvanego::detail {

/// One state of a file. Another file in its place has another one, and so has the same file after a change of
/// its bytes, owner or rights.
struct FileState {
  FileIdentity identity;
  off_t size = 0;
  std::pair<time_t, long> modified;
  uid_t owner = 0;
  mode_t mode = 0;
  bool operator==(const FileState&) const = default;
};

/// A directory that only the user can access. It is checked when it is opened, and by `check`. Files are then
/// opened through its descriptor, so that nobody can replace the directory meanwhile.
///
/// Errors are sentences for the host's developer, with the path and the system's error text.
class PrivateDirectory {
 public:
  /// Opens the directory `path`. Creates it if it does not exist and `create` is true. Fails for a symbolic
  /// link, for a directory of another user, and for one that others have any right to.
  [[nodiscard]] static std::expected<PrivateDirectory, std::string> open(const std::filesystem::path& path,
                                                                         bool create);

  /// Returns the content of a regular file that belongs to the user, that others have no right to, and that
  /// has at most `limit` bytes. Returns no value for any other file, for one that this process has locked,
  /// and if there is none.
  [[nodiscard]] std::optional<Bytes> read(const std::string& name, std::size_t limit) const;

  /// Fails if the directory has come to belong to another user, or others have got a right to it.
  [[nodiscard]] std::expected<void, std::string> check() const;

  /// The state of what has this name; nothing if there is nothing.
  [[nodiscard]] std::optional<FileState> stateOf(const std::string& name) const;

  /// Returns true if there is anything of this name.
  [[nodiscard]] bool contains(const std::string& name) const;

  /// Returns true if there is something of this name that `read` refuses for what it is: it isn't a regular
  /// file, belongs to another user, is open to others or is larger than `limit`.
  [[nodiscard]] bool isForeign(const std::string& name, std::size_t limit) const;

  /// Replaces a file atomically: a reader finds the earlier file or this one. The caller must hold a lock of
  /// all writers of the file (`lock()`). On an error the earlier file is still there.
  [[nodiscard]] std::expected<void, std::string> replace(const std::string& name,
                                                         std::span<const std::uint8_t> bytes,
                                                         Durability durability = Durability::written) const;

  /// Removes a file. Succeeds if the file does not exist.
  [[nodiscard]] std::expected<void, std::string> remove(const std::string& name,
                                                        Durability durability = Durability::written) const;

  /// Gives a file another name, in place of any file of that name.
  [[nodiscard]] std::expected<void, std::string> rename(const std::string& name,
                                                        const std::string& newName) const;

  /// Takes the lock of this name, exclusive among all processes and objects. Fails if it is still held
  /// elsewhere after `longestWait`.
  [[nodiscard]] std::expected<HeldLock, std::string> lock(const std::string& name,
                                                          std::chrono::milliseconds longestWait) const;

  /// Takes the lock, or returns no value at once if it is held elsewhere.
  [[nodiscard]] std::expected<std::optional<HeldLock>, std::string> tryLock(const std::string& name) const;

 private:
  PrivateDirectory(std::filesystem::path path, FileDescriptor directory)
      : path_(std::move(path)), directory_(std::move(directory)) {}

  [[nodiscard]] std::unexpected<std::string> failed(const std::string& name, const char* what) const;

  std::filesystem::path path_;
  FileDescriptor directory_;
};

/// Returns true if `path` is a directory of the user, and not a symbolic link to one.
[[nodiscard]] bool isOwnDirectory(const std::filesystem::path& path);

}  // namespace tilvanego::detail
