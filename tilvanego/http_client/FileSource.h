#pragma once

#include <memory>

#include <tilvanego/http_client/encodings/FileReading.h>
#include <tilvanego/network/BodyStream.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Sends a file as the body of a request, in pieces. The file must keep its size meanwhile: the request fails
/// if it becomes shorter, and what is added isn't sent.
class FileSource final : public BodySource {
 public:
  /// Opens a regular file, which stays open as long as the source.
  [[nodiscard]] static std::expected<std::shared_ptr<FileSource>, FileReadError> open(const URL& file);

  [[nodiscard]] std::optional<std::uint64_t> size() const override { return size_; }
  [[nodiscard]] std::expected<void, Failure> rewind() override;
  [[nodiscard]] std::expected<std::size_t, Failure> read(std::span<std::uint8_t> room) override;

 private:
  FileSource(detail::FileDescriptor descriptor, std::string path, std::uint64_t size);
  [[nodiscard]] std::unexpected<Failure> failure() const;

  const detail::FileDescriptor descriptor_;
  const std::string path_;
  const std::uint64_t size_;
};

}  // namespace tilvanego
