#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

}  // namespace tilvanego::detail
