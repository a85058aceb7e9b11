#include <tilvanego/platform/desktop/FileLock.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <optional>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tilvanego::detail {
namespace {

constexpr mode_t ownerFile = S_IRUSR | S_IWUSR;

FileIdentity identityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

// The files that this process has locked. The system's locks of a process (fcntl) are neither kept nor
// released by a forked child, as those of an open file (flock) are. But they don't exclude two objects of one
// process, and the process loses them when it closes any descriptor of the file. So this list is asked before
// a file is opened.
class LockedFiles {
 public:
  // Never destroyed: a host may hold a lock until the very end of the process.
  static LockedFiles& ofThisProcess() {
    static auto& files = *new LockedFiles;
    return files;
  }

  std::expected<FileIdentity, LockFailure> lock(const FileDescriptor& directory, const std::string& name) {
    const std::lock_guard held(mutex_);
    if (contains(directory, name)) return std::unexpected(LockFailure::held);
    files_.reserve(files_.size() + 1);
    FileDescriptor file(openat(directory.get(), name.c_str(),
                               O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, ownerFile));
    struct stat status{};
    if (!file || fstat(file.get(), &status) != 0) return std::unexpected(LockFailure::open);
    // The user's file creation mask may have removed a right that the next writer needs.
    fchmod(file.get(), ownerFile);
    if (const auto failure = lockForThisProcess(file)) return std::unexpected(*failure);
    files_.push_back({identityOf(status), std::move(file)});
    return files_.back().identity;
  }

  bool lockAgain(const FileIdentity& file) {
    const std::lock_guard held(mutex_);
    const auto found = std::ranges::find(files_, file, &LockedFile::identity);
    return found != files_.end() && !lockForThisProcess(found->descriptor);
  }

  void unlock(const FileIdentity& file) {
    const std::lock_guard held(mutex_);
    std::erase_if(files_, [&](const LockedFile& one) { return one.identity == file; });
  }

  bool holds(const FileDescriptor& directory, const std::string& name) {
    const std::lock_guard held(mutex_);
    return contains(directory, name);
  }

 private:
  struct LockedFile {
    FileIdentity identity;
    FileDescriptor descriptor;
  };

  static std::optional<LockFailure> lockForThisProcess(const FileDescriptor& file) {
    struct flock whole{};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    while (fcntl(file.get(), F_SETLK, &whole) != 0) {
      if (errno == EACCES || errno == EAGAIN) return LockFailure::held;
      if (errno != EINTR) return LockFailure::lock;
    }
    return std::nullopt;
  }

  bool contains(const FileDescriptor& directory, const std::string& name) {
    // A forked child finds a copy of its parent's list.
    if (std::exchange(owner_, getpid()) != getpid()) files_.clear();
    struct stat status{};
    return fstatat(directory.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           std::ranges::any_of(files_,
                               [&](const LockedFile& one) { return one.identity == identityOf(status); });
  }

  std::mutex mutex_;
  pid_t owner_ = 0;
  std::vector<LockedFile> files_;
};

}  // namespace

HeldLock::~HeldLock() {
  if (owner_ == getpid()) LockedFiles::ofThisProcess().unlock(file_);
}

bool HeldLock::isHeldAt(const std::filesystem::path& path) const {
  if (owner_ != getpid()) return false;
  struct stat status{};
  const bool isThere =
      lstat(path.c_str(), &status) == 0 ? identityOf(status) == file_ : errno != ENOENT && errno != ENOTDIR;
  return isThere && LockedFiles::ofThisProcess().lockAgain(file_);
}

std::expected<HeldLock, LockFailure> tryLock(const FileDescriptor& directory, const std::string& name) {
  const auto file = LockedFiles::ofThisProcess().lock(directory, name);
  if (!file) return std::unexpected(file.error());
  return HeldLock(*file, getpid());
}

bool isLockedHere(const FileDescriptor& directory, const std::string& name) {
  return LockedFiles::ofThisProcess().holds(directory, name);
}

}  // namespace tilvanego::detail
