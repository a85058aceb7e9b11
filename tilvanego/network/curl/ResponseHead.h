#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tilvanego::detail {

/// Collects the head of an answer from the lines that libcurl hands over: heads of interim answers and of a
/// proxy's are dropped for the next one, trailers are left out.
class ResponseHead {
 public:
  static constexpr std::size_t maxFields = 1000;
  /// Libcurl by itself renews a Digest answer that is called out of date, as often as it is asked to.
  static constexpr std::size_t maxRefusals = 4;

  /// All lines of an answer together may have so many bytes: those that are dropped or left out count too.
  explicit ResponseHead(std::size_t maxBytes) : maxBytes_(maxBytes) {}

  /// Takes one line with its line break. False if the head is beyond the limits.
  [[nodiscard]] bool addLine(std::string_view line);
  /// Further lines are trailers.
  void bodyBegins() { inBody_ = true; }
  /// Lets go of all of it, for the next answer; keeps the room.
  void clear();

  /// Whether the empty line after the last field has come.
  [[nodiscard]] bool isComplete() const { return complete_; }
  /// Whether the body's length is given as something else than one number (RFC 9112, section 6.3).
  [[nodiscard]] bool hasBrokenLength() const { return hasBrokenLength_; }
  /// Whether a server or proxy has refused more answers to its challenges than serve any purpose.
  [[nodiscard]] bool hasTooManyRefusals() const { return refusals_ > maxRefusals; }
  /// Whether a field says how the body is encoded.
  [[nodiscard]] bool hasContentEncoding() const { return hasContentEncoding_; }
  /// The head as it came, for `readHead`; empty until it is complete.
  [[nodiscard]] std::string_view lines() const {
    return complete_ ? std::string_view(bytes_) : std::string_view();
  }

 private:
  void startOver();
  void noteStatus(std::string_view line);
  void noteLength(std::string_view value);

  std::size_t maxBytes_;
  std::string bytes_;
  std::size_t lineCount_ = 0;
  std::size_t received_ = 0;
  bool complete_ = false;
  bool inBody_ = false;
  bool hasContentEncoding_ = false;
  bool hasBrokenLength_ = false;
  std::optional<std::uint64_t> length_;
  std::size_t refusals_ = 0;
};

}  // namespace tilvanego::detail
