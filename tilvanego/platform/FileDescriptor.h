#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include <unistd.h>

namespace tilvanego::detail {

/// Owns a file descriptor, or none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~FileDescriptor() {
    if (descriptor_ >= 0) close(descriptor_);
  }

  [[nodiscard]] explicit operator bool() const { return descriptor_ >= 0; }
  [[nodiscard]] int get() const { return descriptor_; }

 private:
  int descriptor_ = -1;
};

/// Writes all bytes, also if a signal interrupts. Returns false on an error, with the cause in `errno`.
[[nodiscard]] inline bool writeFully(int descriptor, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto count = ::write(descriptor, bytes.data(), bytes.size());
    if (count > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

}  // namespace tilvanego::detail
