#include <tilvanego/http_client/encodings/FileReading.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tilvanego/values/Text.h>

namespace tilvanego::detail {
namespace {

std::string systemReason(int error) { return std::error_code(error, std::generic_category()).message(); }

/// Returns false if memory is short. A file may have any size, so that is an error of the file, not an
/// exception.
bool couldResize(Bytes& bytes, std::size_t size) try {
  bytes.resize(size);
  return true;
} catch (const std::bad_alloc&) {
  return false;
} catch (const std::length_error&) {
  return false;
}

/// Returns the path of a file URL, or the reason why it isn't one.
std::expected<std::string, std::string> filePath(const URL& url) {
  if (!equalIgnoringCase(url.scheme().value_or(""), "file")) return std::unexpected("it is no file URL");
  const std::string host = url.host().value_or("");
  if (!host.empty() && !equalIgnoringCase(host, "localhost")) {
    return std::unexpected("its URL names another host");
  }
  std::string path = url.path();
  if (path.contains('\0')) return std::unexpected("its path holds a NUL byte");
  return path;
}

}  // namespace

std::expected<FileToSend, FileReadError> FileToSend::open(const URL& url) {
  auto path = filePath(url);
  if (!path) return std::unexpected(FileReadError{url.absoluteString(), path.error()});
  const auto refused = [&](std::string reason) {
    return std::unexpected(FileReadError{*path, std::move(reason)});
  };

  FileDescriptor descriptor(::open(path->c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  struct stat status{};
  if (!descriptor || ::fstat(descriptor.get(), &status) != 0) return refused(systemReason(errno));
  if (S_ISDIR(status.st_mode)) return refused(systemReason(EISDIR));
  // Reading a device may never end.
  if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode)) return refused("it is no file and no pipe");
  const auto size = S_ISREG(status.st_mode) ? static_cast<std::size_t>(status.st_size) : 0;
  return FileToSend(std::move(descriptor), std::move(*path), size);
}

std::expected<void, FileReadError> FileToSend::appendTo(Bytes& bytes) const {
  constexpr std::size_t leastRoom = 4096;
  const auto failed = [&](int error) { return std::unexpected(FileReadError{path_, systemReason(error)}); };
  std::size_t end = bytes.size();
  // One byte more than expected, so that the read at the end of the file needs no further memory.
  std::size_t room = end + std::max(size_ + 1, leastRoom);
  for (;;) {
    if (end == bytes.size()) {
      if (!couldResize(bytes, room)) return failed(ENOMEM);
      room *= 2;
    }
    const ssize_t count = ::read(descriptor_.get(), bytes.data() + end, bytes.size() - end);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return failed(errno);
    if (count == 0) break;
    end += static_cast<std::size_t>(count);
  }
  bytes.resize(end);
  return {};
}

std::size_t sizeOfFile(const URL& url) {
  const auto path = filePath(url);
  struct stat status{};
  if (!path || ::stat(path->c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  return static_cast<std::size_t>(status.st_size);
}

std::string lastPathComponent(const URL& url) {
  std::string path = url.path();
  const std::size_t last = path.find_last_not_of('/');
  if (last == std::string::npos) return path.empty() ? path : "/";
  path.resize(last + 1);
  return path.substr(path.rfind('/') + 1);
}

std::string_view pathExtension(std::string_view fileName) {
  const std::size_t point = fileName.rfind('.');
  if (point == 0 || point == std::string_view::npos) return {};
  return fileName.substr(point + 1);
}

}  // namespace tilvanego::detail
