#pragma once

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/platform/FileDescriptor.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Why the file of a parameter couldn't be read.
struct FileReadError {
  /// The path, or the whole URL if it isn't the URL of a local file.
  std::string file;
  /// The system's error text.
  std::string reason;

  [[nodiscard]] std::string description() const { return "can't read " + file + ": " + reason; }
  bool operator==(const FileReadError&) const = default;
};

}  // namespace tilvanego

namespace tilvanego::detail {

/// An open file whose content is sent: a regular file, or a pipe, which is read to its end.
class FileToSend {
 public:
  /// Accepts only `file:` URLs of this host.
  [[nodiscard]] static std::expected<FileToSend, FileReadError> open(const URL& url);

  /// The size in bytes at the time when it was opened; 0 for a pipe.
  [[nodiscard]] std::size_t size() const { return size_; }

  /// Appends the file's content. After a failure `bytes` may have a part of it.
  [[nodiscard]] std::expected<void, FileReadError> appendTo(Bytes& bytes) const;

 private:
  FileToSend(FileDescriptor descriptor, std::string path, std::size_t size)
      : descriptor_(std::move(descriptor)), path_(std::move(path)), size_(size) {}

  FileDescriptor descriptor_;
  std::string path_;
  std::size_t size_;
};

/// The current size of a file in bytes; 0 if there is no such file. An estimate for the memory to reserve.
[[nodiscard]] std::size_t sizeOfFile(const URL& url);

/// The last component of a URL's path, decoded; "/" for the root, empty for an empty path.
[[nodiscard]] std::string lastPathComponent(const URL& url);

/// The part of a file's name after its last "."; empty if the "." is the first or the last character.
[[nodiscard]] std::string_view pathExtension(std::string_view fileName);

}  // namespace tilvanego::detail
