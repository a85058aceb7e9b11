#include <tilvanego/http_client/FileDownload.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <span>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tilvanego/platform/FileDescriptor.h>
#include <tilvanego/platform/FileReplacement.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/PlainName.h>
#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/UUID.h>

namespace tilvanego::detail {
namespace {

constexpr mode_t ownerDirectory = S_IRWXU;

std::unexpected<FileWriteError> failure(const std::filesystem::path& path, int code = errno) {
  return std::unexpected(FileWriteError{path.string(), std::generic_category().message(code)});
}

/// Opens the directory `name` in `parent`; creates it if it doesn't exist. Follows no symbolic link.
FileDescriptor openDirectory(const FileDescriptor& parent, const std::string& name) {
  if (mkdirat(parent.get(), name.c_str(), ownerDirectory) != 0 && errno != EEXIST) return {};
  return FileDescriptor(openat(parent.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

URL fileURL(const std::filesystem::path& path) {
  std::string text = "file://";
  appendPercentEncoded(text, path.string(), CharacterClass::path);
  return *URL::parse(std::move(text));
}

/// Creates the directory and its parents if they don't exist. Returns false with the cause in `errno`.
bool makeDirectories(const std::filesystem::path& directory) {
  std::filesystem::path made;
  for (const auto& name : directory) {
    made /= name;
    if (mkdir(made.c_str(), ownerDirectory) == 0 || errno == EEXIST) continue;
    // Some systems report another error, such as EROFS, for a directory that exists.
    const int cause = errno;
    if (access(made.c_str(), F_OK) == 0) continue;
    errno = cause;
    return false;
  }
  return true;
}

}  // namespace

std::expected<std::vector<std::string>, DownloadException> downloadNames(std::string_view path,
                                                                         std::string_view fileName) {
  if (!fileName.empty() && !isPlainName(fileName)) return std::unexpected(DownloadException::responseFailed);
  std::vector<std::string> names;
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    const std::string_view name = path.substr(start, end - start);
    start = end + 1;
    if (name.empty() || name == ".") continue;
    if (!isPlainName(name)) return std::unexpected(DownloadException::requestMissingPath);
    names.emplace_back(name);
  }
  if (!fileName.empty()) names.emplace_back(fileName);
  if (names.empty()) return std::unexpected(DownloadException::requestMissingPath);
  return names;
}

std::expected<std::string, FileWriteError> uniqueText() {
  UUID::Octets octets{};
  if (!OpenSSLRandomSource().fill(octets)) {
    return std::unexpected(FileWriteError{"a file of a new name", "the system has no random bytes"});
  }
  return UUID::fromRandomBytes(octets).text();
}

std::expected<URL, FileWriteError> writeBelow(const std::filesystem::path& directory,
                                              const std::vector<std::string>& names, const Data& data) {
  if (!directory.is_absolute()) {
    return std::unexpected(
        FileWriteError{directory.string(), "no caches directory: XDG_CACHE_HOME and HOME aren't set"});
  }
  const auto unique = uniqueText();
  if (!unique) return std::unexpected(unique.error());
  if (!makeDirectories(directory)) return failure(directory);
  std::filesystem::path path = directory;
  FileDescriptor parent(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!parent) return failure(path);
  for (const std::string& name : std::span(names).first(names.size() - 1)) {
    path /= name;
    parent = openDirectory(parent, name);
    if (!parent) return failure(path);
  }
  path /= names.back();
  if (replaceFile(parent, names.back(), ".download-" + *unique, data.bytes()) !=
      FileReplacementFailure::none) {
    return failure(path);
  }
  return fileURL(path);
}

}  // namespace tilvanego::detail
