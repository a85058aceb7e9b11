#include <tilvanego/platform/desktop/PrivateDirectory.h>

#include <cerrno>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

namespace tilvanego::detail {
namespace {

constexpr mode_t ownerDirectory = S_IRWXU;
constexpr mode_t rightsOfOthers = S_IRWXG | S_IRWXO;

// Returns a sentence with the cause in `errno`.
std::unexpected<std::string> failedAt(const std::filesystem::path& path, const char* what) {
  const int cause = errno;
  return std::unexpected(path.string() + " " + what + ": " + std::generic_category().message(cause) + ".");
}

bool isPrivate(const struct stat& status) {
  return status.st_uid == geteuid() && (status.st_mode & rightsOfOthers) == 0;
}

std::expected<void, std::string> checkPrivate(const std::filesystem::path& path, const struct stat& status) {
  if (status.st_uid != geteuid()) return std::unexpected(path.string() + " belongs to another user.");
  if (!isPrivate(status)) {
    return std::unexpected(path.string() + " is open to other users; its mode must be 0700.");
  }
  return {};
}

bool isReadable(const struct stat& status, std::size_t limit) {
  return S_ISREG(status.st_mode) && isPrivate(status) && status.st_size >= 0 &&
         static_cast<std::uintmax_t>(status.st_size) <= limit;
}

// Returns the number of bytes read, which is less than requested only at the end of the file. Returns no
// value on an error.
std::optional<std::size_t> readFully(int descriptor, std::span<std::uint8_t> bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const auto count = ::read(descriptor, bytes.data() + done, bytes.size() - done);
    if (count == 0) break;
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
  return done;
}

// Returns the directory's own name: for "link/" and "link/." the system would follow a symbolic link.
std::filesystem::path withoutTrailingSeparators(std::filesystem::path path) {
  while (path.has_relative_path() && (path.filename().empty() || path.filename() == ".")) {
    path = path.parent_path();
  }
  return path;
}

}  // namespace

std::expected<PrivateDirectory, std::string> PrivateDirectory::open(const std::filesystem::path& given,
                                                                    bool create) {
  if (given.native().contains('\0')) return std::unexpected("The directory's name holds a NUL character.");
  const auto path = withoutTrailingSeparators(given);
  if (create) {
    // The user's file creation mask may have removed a right of the owner.
    const bool made = mkdir(path.c_str(), ownerDirectory) == 0 && chmod(path.c_str(), ownerDirectory) == 0;
    if (!made && errno != EEXIST) return failedAt(path, "can't be made");
  }
  FileDescriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status{};
  if (!directory || fstat(directory.get(), &status) != 0) {
    return failedAt(path, "can't be opened as a directory");
  }
  if (auto checked = checkPrivate(path, status); !checked) return std::unexpected(std::move(checked).error());
  return PrivateDirectory(path, std::move(directory));
}

std::expected<void, std::string> PrivateDirectory::check() const {
  struct stat status{};
  if (fstat(directory_.get(), &status) != 0) return failedAt(path_, "can't be looked at");
  return checkPrivate(path_, status);
}

std::optional<FileState> PrivateDirectory::stateOf(const std::string& name) const {
  struct stat status{};
  if (fstatat(directory_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
#if defined(__APPLE__)
  const timespec& modified = status.st_mtimespec;
#else
  const timespec& modified = status.st_mtim;
#endif
  return FileState{.identity = {status.st_dev, status.st_ino},
                   .size = status.st_size,
                   .modified = {modified.tv_sec, modified.tv_nsec},
                   .owner = status.st_uid,
                   .mode = status.st_mode};
}

std::optional<Bytes> PrivateDirectory::read(const std::string& name, std::size_t limit) const {
  if (isLockedHere(directory_, name)) return std::nullopt;
  // Without O_NONBLOCK, a named pipe in the file's place would block the caller.
  const FileDescriptor file(
      openat(directory_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  struct stat status{};
  if (!file || fstat(file.get(), &status) != 0) return std::nullopt;
  if (!isReadable(status, limit)) return std::nullopt;
  Bytes bytes(static_cast<std::size_t>(status.st_size));
  const auto size = readFully(file.get(), bytes);
  if (!size) return std::nullopt;
  bytes.resize(*size);
  return bytes;
}

bool PrivateDirectory::contains(const std::string& name) const {
  struct stat status{};
  return fstatat(directory_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool PrivateDirectory::isForeign(const std::string& name, std::size_t limit) const {
  struct stat status{};
  return fstatat(directory_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         !isReadable(status, limit);
}

std::unexpected<std::string> PrivateDirectory::failed(const std::string& name, const char* what) const {
  return failedAt(path_ / name, what);
}

std::expected<void, std::string> PrivateDirectory::replace(const std::string& name,
                                                           std::span<const std::uint8_t> bytes,
                                                           Durability durability) const {
  const std::string fresh = name + ".new";
  // A killed writer may have left a temporary file.
  if (auto removed = remove(fresh); !removed) return removed;
  switch (replaceFile(directory_, name, fresh, bytes, durability)) {
    case FileReplacementFailure::create:
      return failed(fresh, "can't be made");
    case FileReplacementFailure::write:
      return failed(fresh, "can't be written");
    case FileReplacementFailure::rename:
      return failed(name, "can't be replaced");
    case FileReplacementFailure::none:
      break;
  }
  return {};
}

std::expected<void, std::string> PrivateDirectory::remove(const std::string& name,
                                                          Durability durability) const {
  if (unlinkat(directory_.get(), name.c_str(), 0) != 0) {
    if (errno == ENOENT) return {};
    return failed(name, "can't be removed");
  }
  if (durability == Durability::synced) static_cast<void>(syncFile(directory_));
  return {};
}

std::expected<void, std::string> PrivateDirectory::rename(const std::string& name,
                                                          const std::string& newName) const {
  if (renameat(directory_.get(), name.c_str(), directory_.get(), newName.c_str()) == 0) return {};
  return failed(name, "can't be renamed");
}

std::expected<std::optional<HeldLock>, std::string> PrivateDirectory::tryLock(const std::string& name) const {
  auto lock = detail::tryLock(directory_, name);
  if (lock) return *std::move(lock);
  if (lock.error() == LockFailure::open) return failed(name, "can't be opened");
  if (lock.error() == LockFailure::lock) return failed(name, "can't be locked");
  return std::nullopt;
}

std::expected<HeldLock, std::string> PrivateDirectory::lock(const std::string& name,
                                                            std::chrono::milliseconds longestWait) const {
  // Shorter than the time between two writes of one writer: otherwise a busy writer would lock out all
  // others.
  constexpr std::chrono::microseconds betweenTries(20);
  // The system has no lock with a time-out, so this tries again and again.
  const auto deadline = std::chrono::steady_clock::now() + longestWait;
  while (true) {
    auto lock = tryLock(name);
    if (!lock) return std::unexpected(std::move(lock).error());
    if (*lock) return **std::move(lock);
    if (std::chrono::steady_clock::now() >= deadline) {
      return std::unexpected((path_ / name).string() + " is locked by another program, and still was after " +
                             std::to_string(longestWait.count()) + " ms.");
    }
    std::this_thread::sleep_for(betweenTries);
  }
}

bool isOwnDirectory(const std::filesystem::path& path) {
  struct stat status{};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

}  // namespace tilvanego::detail
