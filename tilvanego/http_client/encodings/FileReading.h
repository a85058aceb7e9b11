#pragma once

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/platform/desktop/FileDescriptor.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Why a file that a parameter named couldn't be read.
struct FileReadError {
  /// The path, or the whole URL if it names no file of this system.
  std::string file;
  /// In the system's words.
  std::string reason;

  [[nodiscard]] std::string description() const { return "can't read " + file + ": " + reason; }
  bool operator==(const FileReadError&) const = default;
};

}  // namespace tilvanego

namespace tilvanego::detail {

/// A file that was opened to be sent: a regular file, or a pipe, which is read to its end.
class FileToSend {
 public:
  /// Takes `file:` URLs of this host alone.
  [[nodiscard]] static std::expected<FileToSend, FileReadError> open(const URL& url);

  /// What it held when it was opened; 0 for a pipe.
  [[nodiscard]] std::size_t size() const { return size_; }

  /// Appends what it holds. After a failure `bytes` may have a part of it.
  [[nodiscard]] std::expected<void, FileReadError> appendTo(Bytes& bytes) const;

 private:
  FileToSend(FileDescriptor descriptor, std::string path, std::size_t size)
      : descriptor_(std::move(descriptor)), path_(std::move(path)), size_(size) {}

  FileDescriptor descriptor_;
  std::string path_;
  std::size_t size_;
};

/// What a file holds now, without opening it; 0 for what is no file. For a guess at the room that it needs.
[[nodiscard]] std::size_t sizeOfFile(const URL& url);

/// The last component of a URL's path, decoded; "/" for the root, empty for no path.
[[nodiscard]] std::string lastPathComponent(const URL& url);

/// What stands behind the last "." of a file's name; empty if nothing stands before or behind it.
[[nodiscard]] std::string_view pathExtension(std::string_view fileName);

}  // namespace tilvanego::detail
