#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/network/BodyStream.h>
#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/platform/FileDescriptor.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Writes the body of a response to a file, in pieces. The body is written beside it, to the file's name with
/// ".part", and replaces the file when it is complete and on the disk (fsync): a reader finds the earlier
/// file or the whole new one. Only the owner may read and write the new file.
///
/// A part stays for the next try or download of the same file, also in a later process, and is removed else:
/// it is resumed if the server named a strong "ETag" for it, which is kept in the name with ".part.etag". The
/// request then asks for the rest alone ("Range", "If-Range"; RFC 9110, sections 13.1.5 and 14.2). A server
/// whose file has changed, or that knows no ranges, sends the whole. A part isn't tied to its URL: download
/// each URL to a file of its own. One download of a file at a time.
///
/// It fails for a response that has no file (200, 203 and 206 have one), for a part of another version or
/// without the size of the whole, and if the file or its part exists and isn't a regular file. A symbolic
/// link is replaced by the file.
class FileSink final : public BodySink {
 public:
  enum class Mode : std::uint8_t {
    whole,    ///< a part is removed when the download fails
    resumed,  ///< a part is kept, and continued
  };

  /// Writes nothing yet. `file` is absolute; its directory must exist.
  explicit FileSink(std::filesystem::path file, Mode mode = Mode::whole);
  FileSink(const FileSink&) = delete;
  FileSink& operator=(const FileSink&) = delete;
  ~FileSink() override;

  /// Sets the fields that ask for the rest of a part, and for a body that isn't compressed.
  void prepare(HTTPHeaders& fields) override;
  /// Removes a part that the server refuses to continue (416).
  void refused(const HTTPURLResponse& response) override;
  [[nodiscard]] std::expected<void, Failure> begin(const HTTPURLResponse& response, GoOn goOn) override;
  [[nodiscard]] std::expected<Flow, Failure> write(std::span<const std::uint8_t> piece) override;
  [[nodiscard]] std::expected<void, Failure> finish() override;

 private:
  [[nodiscard]] std::filesystem::path named(const char* ending) const;
  [[nodiscard]] std::expected<void, Failure> open(bool continues);
  [[nodiscard]] std::expected<void, Failure> resumePart(std::string_view contentRange, std::string_view tag);
  [[nodiscard]] std::expected<void, Failure> keepTag(std::string_view tag) const;
  [[nodiscard]] std::string keptTag() const;
  void removePart() const;

  const std::filesystem::path file_;
  const Mode mode_;
  detail::FileDescriptor part_;
  std::uint64_t size_ = 0;
  /// The size of the whole file, if the server said it.
  std::optional<std::uint64_t> complete_;
};

}  // namespace tilvanego
