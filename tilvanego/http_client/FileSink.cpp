#include <tilvanego/http_client/FileSink.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tilvanego/http_client/FileDownload.h>
#include <tilvanego/network/ContentRange.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/platform/FileReplacement.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using detail::FileDescriptor;

constexpr mode_t ownerFile = S_IRUSR | S_IWUSR;
constexpr std::size_t longestTag = 1024;
constexpr int partialContent = 206;
constexpr const char* notRegular = "It is no regular file";

std::unexpected<Failure> failure(const std::filesystem::path& path, std::string reason) {
  return std::unexpected(Failure(FileWriteError{path.string(), std::move(reason)}));
}

std::unexpected<Failure> failure(const std::filesystem::path& path, int code = errno) {
  return failure(path, std::generic_category().message(code));
}

std::unexpected<Failure> broken(const char* message) {
  return std::unexpected(Failure(TransportError{TransportError::Code::badServerResponse, message}));
}

/// Only a strong validator says that two parts are of the same bytes (RFC 9110, section 8.8.1).
bool isStrongTag(std::string_view tag) {
  return tag.size() >= 2 && tag.size() <= longestTag && tag.front() == '"' && tag.back() == '"' &&
         std::ranges::none_of(tag.substr(1, tag.size() - 2), [](char c) {
           const auto byte = static_cast<unsigned char>(c);
           return byte <= ' ' || byte == '"' || byte == 0x7F;
         });
}

// Doesn't wait for the other end of what is a pipe.
FileDescriptor opened(const std::filesystem::path& path, int flags) {
  return FileDescriptor(::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, ownerFile));
}

// Only these carry the file: a 204 has none, and a 202 may have anything.
bool hasFile(int status) {
  constexpr int ok = 200;
  constexpr int nonAuthoritative = 203;
  return status == ok || status == nonAuthoritative || status == partialContent;
}

}  // namespace

FileSink::FileSink(std::filesystem::path file, Mode mode) : file_(std::move(file)), mode_(mode) {}

FileSink::~FileSink() {
  if (part_ && mode_ == Mode::whole) removePart();
}

std::filesystem::path FileSink::named(const char* ending) const { return file_.string() + ending; }

void FileSink::removePart() const {
  unlink(named(".part.etag").c_str());
  unlink(named(".part").c_str());
}

void FileSink::prepare(HTTPHeaders& fields) {
  // A range is one of the bytes as sent.
  fields.setValue("Accept-Encoding", "identity");
  if (mode_ == Mode::whole) return;
  struct stat about{};
  const auto tag = keptTag();
  if (tag.empty() || stat(named(".part").c_str(), &about) != 0 || about.st_size == 0) return;
  // With the last byte of the part once more: else there would be no rest of a part that is whole.
  fields.setValue("Range", "bytes=" + std::to_string(about.st_size - 1) + "-");
  fields.setValue("If-Range", tag);
}

void FileSink::refused(const HTTPURLResponse& response) {
  constexpr int rangeNotSatisfiable = 416;
  if (response.statusCode() == rangeNotSatisfiable) removePart();
}

std::expected<void, Failure> FileSink::begin(const HTTPURLResponse& response, GoOn) {
  struct stat target{};
  if (lstat(file_.c_str(), &target) == 0 && !S_ISREG(target.st_mode) && !S_ISLNK(target.st_mode)) {
    return failure(file_, notRegular);
  }
  if (!hasFile(response.statusCode())) return broken("the status of the response is none of a file");
  const bool continues = response.statusCode() == partialContent;
  const auto field = [&](std::string_view name) { return response.headers().value(name).value_or(""); };
  const auto coding = field("Content-Encoding");
  if (!coding.empty() && coding != "identity" && mode_ == Mode::resumed) {
    return broken("the server compresses a file that must be sent as it is");
  }
  if (auto result = open(continues); !result) return result;
  complete_.reset();
  if (continues) return resumePart(field("Content-Range"), field("ETag"));
  return keepTag(mode_ == Mode::resumed ? field("ETag") : "");
}

// The last byte of the part comes again.
std::expected<void, Failure> FileSink::resumePart(std::string_view contentRange, std::string_view tag) {
  const auto range = detail::parseContentRange(contentRange);
  if (!range || range->first + 1 != size_) {
    return broken("the server sends another range than the one it was asked for");
  }
  // Later downloads would get no further either.
  const bool isOther = !tag.empty() && tag != keptTag();
  if (isOther || !range->complete) removePart();
  if (isOther) return broken("the server sends a part of another version of the file");
  if (!range->complete) return broken("the server doesn't say how large the whole file is");
  complete_ = range->complete;
  size_ = range->first;
  if (ftruncate(part_.get(), static_cast<off_t>(size_)) != 0 || lseek(part_.get(), 0, SEEK_END) < 0) {
    return failure(named(".part"));
  }
  return {};
}

std::expected<void, Failure> FileSink::open(bool continues) {
  const auto path = named(".part");
  part_ = opened(path, O_WRONLY | O_CREAT);
  if (!part_) return failure(path);
  if (flock(part_.get(), LOCK_EX | LOCK_NB) != 0) {
    const int cause = errno;
    // It belongs to another download.
    part_ = {};
    return cause == EWOULDBLOCK ? failure(path, "Another download writes it") : failure(path, cause);
  }
  struct stat about{};
  if (fstat(part_.get(), &about) != 0) return failure(path);
  if (!S_ISREG(about.st_mode)) return failure(path, notRegular);
  if (!continues && ftruncate(part_.get(), 0) != 0) return failure(path);
  if (fchmod(part_.get(), ownerFile) != 0 && errno != EPERM) return failure(path);
  if (lseek(part_.get(), 0, SEEK_END) < 0) return failure(path);
  size_ = continues ? static_cast<std::uint64_t>(about.st_size) : 0;
  return {};
}

// Without a tag, an earlier one is removed: the part can't be continued.
std::expected<void, Failure> FileSink::keepTag(std::string_view tag) const {
  const auto path = named(".part.etag");
  if (!isStrongTag(tag)) {
    if (unlink(path.c_str()) == 0 || errno == ENOENT) return {};
    return failure(path);
  }
  const auto file = opened(path, O_WRONLY | O_CREAT | O_TRUNC);
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(tag.data()), tag.size());
  if (file && detail::writeFully(file.get(), bytes)) return {};
  return failure(path);
}

std::string FileSink::keptTag() const {
  const auto file = opened(named(".part.etag"), O_RDONLY);
  std::array<char, longestTag + 1> room{};
  const auto count = file ? read(file.get(), room.data(), room.size()) : 0;
  const std::string_view tag(room.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  return std::string(isStrongTag(tag) ? tag : "");
}

std::expected<BodySink::Flow, Failure> FileSink::write(std::span<const std::uint8_t> piece) {
  const detail::FileSizeSignalBlocked blocked;
  if (!detail::writeFully(part_.get(), piece)) return failure(named(".part"));
  size_ += piece.size();
  return Flow::goOn;
}

std::expected<void, Failure> FileSink::finish() {
  const auto path = named(".part");
  if (complete_ && *complete_ != size_) return broken("the server's parts of the file don't make the whole");
  if (!detail::syncFile(part_)) return failure(path);
  if (rename(path.c_str(), file_.c_str()) != 0) return failure(file_);
  part_ = {};
  unlink(named(".part.etag").c_str());
  // The file is replaced, whatever this says.
  const auto directory = opened(file_.parent_path(), O_RDONLY | O_DIRECTORY);
  if (directory) static_cast<void>(detail::syncFile(directory));
  return {};
}

}  // namespace tilvanego
