#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include <zlib.h>

namespace tilvanego::detail {

/// How a body is compressed.
enum class ContentCoding { gzip, deflate };

/// What a "Content-Encoding" field says; none if it names anything else, more than one coding, or none.
[[nodiscard]] std::optional<ContentCoding> contentCodingOf(std::string_view field);

/// Decompresses a body as its bytes come. libcurl could, but fails the request for a coding that it doesn't
/// know.
class ContentDecoder {
 public:
  /// Throws std::bad_alloc if memory is short.
  explicit ContentDecoder(ContentCoding coding);
  ContentDecoder(const ContentDecoder&) = delete;
  ContentDecoder& operator=(const ContentDecoder&) = delete;
  ~ContentDecoder();

  /// Takes the next bytes of the body, which stay where they are until all is read.
  void feed(std::string_view bytes);
  /// Fills the front of `room` from what was fed; gives how much, and 0 when more is to be fed. None if the
  /// bytes aren't of the coding. Throws std::bad_alloc if memory is short.
  [[nodiscard]] std::optional<std::size_t> read(std::span<char> room);

  /// Whether the compressed bytes came to their end.
  [[nodiscard]] bool isAtEnd() const { return atEnd_; }

 private:
  [[nodiscard]] bool begin();

  const ContentCoding coding_;
  z_stream zlib_{};
  bool begun_ = false;
  bool atEnd_ = false;
};

}  // namespace tilvanego::detail
