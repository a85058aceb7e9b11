#include <tilvanego/http_client/FileSource.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace [[gnu::visibility("default")]] tilvanego {

FileSource::FileSource(detail::FileDescriptor descriptor, std::string path, std::uint64_t size)
    : descriptor_(std::move(descriptor)), path_(std::move(path)), size_(size) {}

std::expected<std::shared_ptr<FileSource>, FileReadError> FileSource::open(const URL& file) {
  const auto refused = [](std::string name, std::string reason) {
    return std::unexpected(FileReadError{std::move(name), std::move(reason)});
  };
  const auto host = file.writtenHost().value_or("");
  if (file.scheme() != "file" || (!host.empty() && host != "localhost")) {
    return refused(file.absoluteString(), "it is no file: URL of this host");
  }
  auto path = file.path();
  // Not blocking, so that a pipe without a writer is refused.
  detail::FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat about{};
  if (!descriptor || fstat(descriptor.get(), &about) != 0) {
    return refused(std::move(path), std::generic_category().message(errno));
  }
  if (!S_ISREG(about.st_mode)) return refused(std::move(path), "it is no regular file");
  return std::shared_ptr<FileSource>(
      new FileSource(std::move(descriptor), std::move(path), static_cast<std::uint64_t>(about.st_size)));
}

std::expected<void, Failure> FileSource::rewind() {
  if (lseek(descriptor_.get(), 0, SEEK_SET) == 0) return {};
  return failure();
}

std::expected<std::size_t, Failure> FileSource::read(std::span<std::uint8_t> room) {
  for (;;) {
    const auto count = ::read(descriptor_.get(), room.data(), room.size());
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) return failure();
  }
}

std::unexpected<Failure> FileSource::failure() const {
  return std::unexpected(Failure(FileReadError{path_, std::generic_category().message(errno)}));
}

}  // namespace tilvanego
