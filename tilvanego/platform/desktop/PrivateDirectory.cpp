#include <tilvanego/platform/desktop/PrivateDirectory.h>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace tilvanego::detail {
namespace {

constexpr mode_t ownerDirectory = S_IRWXU;
constexpr mode_t ownerFile = S_IRUSR | S_IWUSR;
constexpr mode_t rightsOfOthers = S_IRWXG | S_IRWXO;

std::error_code lastError() { return {errno, std::generic_category()}; }

bool isPrivate(const struct stat& status) {
  return status.st_uid == geteuid() && (status.st_mode & rightsOfOthers) == 0;
}

// Gives the number of bytes read, less than asked for at the end of the file only; no value on an error.
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

}  // namespace

std::expected<PrivateDirectory, std::error_code> PrivateDirectory::open(const std::filesystem::path& path,
                                                                        bool create) {
  if (create && mkdir(path.c_str(), ownerDirectory) != 0 && errno != EEXIST)
    return std::unexpected(lastError());
  FileDescriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status{};
  if (!directory || fstat(directory.get(), &status) != 0) return std::unexpected(lastError());
  if (!isPrivate(status)) return std::unexpected(std::make_error_code(std::errc::permission_denied));
  return PrivateDirectory(std::move(directory));
}

std::optional<Bytes> PrivateDirectory::read(const std::string& name, std::size_t limit) const {
  // Without O_NONBLOCK, a named pipe in the file's place would keep the caller here.
  const FileDescriptor file(
      openat(directory_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  struct stat status{};
  if (!file || fstat(file.get(), &status) != 0) return std::nullopt;
  if (!S_ISREG(status.st_mode) || !isPrivate(status)) return std::nullopt;
  if (status.st_size < 0 || static_cast<std::uintmax_t>(status.st_size) > limit) return std::nullopt;
  Bytes bytes(static_cast<std::size_t>(status.st_size));
  const auto size = readFully(file.get(), bytes);
  if (!size) return std::nullopt;
  bytes.resize(*size);
  return bytes;
}

std::error_code PrivateDirectory::replace(const std::string& name,
                                          std::span<const std::uint8_t> bytes) const {
  const std::string fresh = name + ".new";
  // One that a writer left behind as it was killed.
  if (const auto failure = remove(fresh)) return failure;
  {
    const FileDescriptor file(openat(directory_.get(), fresh.c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownerFile));
    if (!file) return lastError();
    // The user's file creation mask may have taken a right away.
    if (fchmod(file.get(), ownerFile) != 0 || !writeFully(file.get(), bytes)) {
      const auto failure = lastError();
      unlinkat(directory_.get(), fresh.c_str(), 0);
      return failure;
    }
  }
  if (renameat(directory_.get(), fresh.c_str(), directory_.get(), name.c_str()) == 0) return {};
  const auto failure = lastError();
  unlinkat(directory_.get(), fresh.c_str(), 0);
  return failure;
}

std::error_code PrivateDirectory::remove(const std::string& name) const {
  if (unlinkat(directory_.get(), name.c_str(), 0) == 0 || errno == ENOENT) return {};
  return lastError();
}

std::expected<FileDescriptor, std::error_code> PrivateDirectory::lock(const std::string& name,
                                                                      bool wait) const {
  FileDescriptor file(openat(directory_.get(), name.c_str(),
                             O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, ownerFile));
  if (!file) return std::unexpected(lastError());
  while (flock(file.get(), wait ? LOCK_EX : LOCK_EX | LOCK_NB) != 0) {
    if (errno != EINTR) return std::unexpected(lastError());
  }
  return file;
}

bool isOwnDirectory(const std::filesystem::path& path) {
  struct stat status{};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

}  // namespace tilvanego::detail
