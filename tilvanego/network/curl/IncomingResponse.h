#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <zlib.h>

#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/Lifetime.h>

namespace tilvanego::detail {

/// Collects the head of a response from the lines that libcurl passes on. The heads of interim responses and
/// of a proxy's responses are replaced by the next head; trailers are left out.
class ResponseHead {
 public:
  /// The most fields of a response, also those that are replaced or left out; each line of a folded one
  /// counts.
  static constexpr std::size_t maxFields = 1000;

  /// `maxBytes` limits all lines of a response together, also those that are replaced or left out.
  explicit ResponseHead(std::size_t maxBytes) : maxBytes_(maxBytes) {}

  /// Adds one line with its line break. Returns false if the head exceeds the limits.
  [[nodiscard]] bool addLine(std::string_view line);
  /// Called at the first byte of the body: further lines are trailers.
  void bodyBegins() { inBody_ = true; }
  /// Clears the head for the next response; keeps the memory.
  void clear();

  /// Whether the empty line after the last field was added.
  [[nodiscard]] bool isComplete() const { return complete_; }
  /// Whether "Content-Length" isn't one number (RFC 9112, section 6.3).
  [[nodiscard]] bool hasBrokenLength() const { return hasBrokenLength_; }
  [[nodiscard]] bool hasContentEncoding() const { return hasContentEncoding_; }
  /// The lines as received, for `readHead`; empty until the head is complete.
  [[nodiscard]] std::string_view lines() const TILVANEGO_LIFETIMEBOUND {
    return complete_ ? std::string_view(bytes_) : std::string_view();
  }

 private:
  void startOver();
  [[nodiscard]] bool addOtherLine(std::string_view line);
  void noteContentField(std::string_view line);
  void noteLength(std::string_view value);

  std::size_t maxBytes_;
  std::string bytes_;
  std::size_t received_ = 0;
  std::size_t fieldCount_ = 0;
  bool complete_ = false;
  bool inBody_ = false;
  bool hasContentEncoding_ = false;
  bool hasBrokenLength_ = false;
  std::optional<std::uint64_t> length_;
};

/// Collects the bytes of a response's body. An announced length isn't trusted: at most 16 times the received
/// bytes, or 1 MiB, are allocated in advance, so that 100 MB need three allocations. The caller enforces the
/// limit on the size.
class Body {
 public:
  /// Sets the length that the server announced.
  void expect(std::size_t length) { expected_ = length; }

  /// Throws std::bad_alloc or std::length_error if memory is short.
  void append(const char* bytes, std::size_t count) {
    const auto needed = bytes_.size() + count;
    // Without an announced length, the vector grows by itself.
    if (needed > bytes_.capacity() && needed <= expected_) {
      bytes_.reserve(std::min(expected_, std::max(needed * 16, std::size_t{1} << 20U)));
    }
    const auto* begin = reinterpret_cast<const std::uint8_t*>(bytes);
    bytes_.insert(bytes_.end(), begin, begin + count);
  }

  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  /// Returns the bytes and clears this object.
  [[nodiscard]] Data take();
  /// Keeps the memory of a small body for the next one.
  void clear();

 private:
  /// Up to this size a copy costs less than memory of its own.
  static constexpr std::size_t smallSize = std::size_t{16} * 1024;

  Bytes bytes_;
  std::size_t expected_ = 0;
};

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
