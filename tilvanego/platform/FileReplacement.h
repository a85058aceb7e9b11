#pragma once

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <span>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tilvanego/platform/FileDescriptor.h>

namespace tilvanego::detail {

/// Lets writing beyond the process's file-size limit fail with EFBIG on this thread, without the signal
/// SIGXFSZ, which ends the process by default. Keeps `errno`.
class FileSizeSignalBlocked {
 public:
  FileSizeSignalBlocked() {
    sigemptyset(&signal_);
    sigaddset(&signal_, SIGXFSZ);
    wasPending_ = isPending();
    pthread_sigmask(SIG_BLOCK, &signal_, &before_);
  }
  FileSizeSignalBlocked(const FileSizeSignalBlocked&) = delete;
  FileSizeSignalBlocked& operator=(const FileSizeSignalBlocked&) = delete;
  ~FileSizeSignalBlocked() {
    const int cause = errno;
    int number = 0;
    // A host that blocks the signal itself doesn't get it either, unless it was pending before.
    if (!wasPending_ && isPending()) sigwait(&signal_, &number);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    errno = cause;
  }

 private:
  static bool isPending() {
    sigset_t pending;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGXFSZ) == 1;
  }

  sigset_t signal_{};
  sigset_t before_{};
  bool wasPending_ = false;
};

/// The step of `replaceFile` that failed, or `none`.
enum class FileReplacementFailure { none, create, write, rename };

/// What a change of a file must survive: the end of the process, or also a crash of the system (fsync).
enum class Durability { written, synced };

/// Waits until the file or directory is on the disk. Succeeds on a file system that can't sync it.
[[nodiscard]] inline bool syncFile(const FileDescriptor& file) {
  while (fsync(file.get()) != 0) {
    if (errno == EINVAL || errno == EROFS) return true;
    if (errno != EINTR) return false;
  }
  return true;
}

/// Replaces the file `name` of `directory` atomically: a reader finds the earlier file or the whole new one.
/// The bytes are written to the file `temporaryName` first, which must not exist, and which is then renamed.
/// Only the owner may read and write the new file. On a failure the earlier file is still there, the
/// temporary one is removed, and `errno` holds the cause. A synced file is on the disk before it is renamed;
/// then the directory is synced too, as well as the system can.
[[nodiscard]] inline FileReplacementFailure replaceFile(const FileDescriptor& directory,
                                                        const std::string& name,
                                                        const std::string& temporaryName,
                                                        std::span<const std::uint8_t> bytes,
                                                        Durability durability = Durability::written) {
  constexpr mode_t ownerFile = S_IRUSR | S_IWUSR;
  auto failure = FileReplacementFailure::none;
  {
    const FileDescriptor file(openat(directory.get(), temporaryName.c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownerFile));
    if (!file) return FileReplacementFailure::create;
    // The user's file creation mask may have removed a right. Fails on a file system without permissions,
    // which doesn't matter.
    fchmod(file.get(), ownerFile);
    const FileSizeSignalBlocked blocked;
    const bool isSynced = durability == Durability::synced;
    if (!writeFully(file.get(), bytes) || (isSynced && !syncFile(file)))
      failure = FileReplacementFailure::write;
  }
  if (failure == FileReplacementFailure::none &&
      renameat(directory.get(), temporaryName.c_str(), directory.get(), name.c_str()) != 0) {
    failure = FileReplacementFailure::rename;
  }
  if (failure != FileReplacementFailure::none) {
    const int cause = errno;
    unlinkat(directory.get(), temporaryName.c_str(), 0);
    errno = cause;
  } else if (durability == Durability::synced) {
    // The file is replaced, whatever this says.
    static_cast<void>(syncFile(directory));
  }
  return failure;
}

}  // namespace tilvanego::detail
