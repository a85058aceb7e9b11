#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include <zlib.h>

namespace tilvanego::detail {

/// The compression of a body (RFC 9110, section 8.4.1).
enum class ContentCoding { gzip, deflate };

/// Returns the coding of a "Content-Encoding" field, or no value if the field has another coding, several
/// codings or none.
[[nodiscard]] std::optional<ContentCoding> contentCodingOf(std::string_view field);

/// Decompresses a body piece by piece. libcurl could do this, but it fails the request if it doesn't know the
/// coding.
class ContentDecoder {
 public:
  /// Throws std::bad_alloc if memory is short.
  explicit ContentDecoder(ContentCoding coding);
  ContentDecoder(const ContentDecoder&) = delete;
  ContentDecoder& operator=(const ContentDecoder&) = delete;
  ~ContentDecoder();

  /// Sets the next bytes of the body. They must stay valid until `read` has returned 0.
  void feed(std::string_view bytes);
  /// Decompresses into `room` and returns the number of bytes; 0 means that `feed` must be called again. No
  /// value if the bytes aren't in the coding. Throws std::bad_alloc if memory is short.
  [[nodiscard]] std::optional<std::size_t> read(std::span<char> room);

  /// Whether the compressed data are complete.
  [[nodiscard]] bool isAtEnd() const { return stage_ == Stage::afterStream || stage_ == Stage::ignoring; }

 private:
  /// `ignoring` lasts to the body's end: bytes after the last stream don't depend on how the body is cut.
  enum class Stage { beforeBody, inStream, afterStream, ignoring };
  [[nodiscard]] Stage begin();

  const ContentCoding coding_;
  z_stream zlib_{};
  Stage stage_ = Stage::beforeBody;
};

}  // namespace tilvanego::detail
