#pragma once

#include <expected>
#include <filesystem>
#include <string>
#include <utility>

#include <sys/types.h>

#include <tilvanego/platform/FileDescriptor.h>

namespace tilvanego::detail {

/// Says which file it is, whatever name leads to it.
struct FileIdentity {
  dev_t device{};
  ino_t number{};
  friend bool operator==(const FileIdentity& a, const FileIdentity& b) = default;
};

/// A lock of a file, held by this process until the destructor runs or the process ends, in whatever way. A
/// forked child has no part in it: the child's copy neither keeps the lock nor releases it.
class HeldLock {
 public:
  HeldLock(FileIdentity file, pid_t owner) : file_(file), owner_(owner) {}
  HeldLock(HeldLock&& other) noexcept : file_(other.file_), owner_(std::exchange(other.owner_, 0)) {}
  HeldLock& operator=(HeldLock&&) = delete;
  ~HeldLock();

  /// Returns true if this process holds the lock and `path` still leads to the locked file. If it can't be
  /// said where the path leads, that counts as true. Takes the lock again if the process has lost it and
  /// nobody else has it now: a process loses it when any of its code, such as a copy of the directory, closes
  /// a descriptor of the file. Others may have held the lock meanwhile.
  [[nodiscard]] bool isHeldAt(const std::filesystem::path& path) const;

 private:
  FileIdentity file_;
  pid_t owner_;
};

enum class LockFailure { open, lock, held };

/// Locks the file `name` of `directory` for its owner, and makes it if there is none. Returns at once: `held`
/// says that another process or another object of this one holds the lock. After the other failures `errno`
/// holds the cause. Any thread may call it.
[[nodiscard]] std::expected<HeldLock, LockFailure> tryLock(const FileDescriptor& directory,
                                                           const std::string& name);

/// Returns true if this process holds the lock of this file. Nobody may open such a file: closing it again
/// would release the lock.
[[nodiscard]] bool isLockedHere(const FileDescriptor& directory, const std::string& name);

}  // namespace tilvanego::detail
