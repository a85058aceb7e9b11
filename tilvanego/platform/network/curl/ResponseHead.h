#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tilvanego::detail {

/// Collects the head of an answer from the lines that libcurl hands over: heads of interim answers and of a
/// proxy's are dropped for the next one, trailers are left out.
class ResponseHead {
 public:
  static constexpr std::size_t maximumFields = 1000;

  /// All lines of an answer together may have so many bytes: those that are dropped or left out count too.
  explicit ResponseHead(std::size_t maximumBytes) : maximumBytes_(maximumBytes) {}

  /// Takes one line with its line break. False if the head is beyond the limits.
  [[nodiscard]] bool addLine(std::string_view line);
  /// Further lines are trailers.
  void bodyBegins() { inBody_ = true; }
  /// Lets go of all of it, for the next answer; keeps the room.
  void clear();

  /// Whether the empty line after the last field has come.
  [[nodiscard]] bool isComplete() const { return complete_; }
  /// Whether a field says how the body is encoded.
  [[nodiscard]] bool hasContentEncoding() const { return hasContentEncoding_; }
  /// The head as it came, for `readHead`; empty until it is complete.
  [[nodiscard]] std::string_view lines() const {
    return complete_ ? std::string_view(bytes_) : std::string_view();
  }

 private:
  void startOver();

  std::size_t maximumBytes_;
  std::string bytes_;
  std::size_t lineCount_ = 0;
  std::size_t received_ = 0;
  bool complete_ = false;
  bool inBody_ = false;
  bool hasContentEncoding_ = false;
};

}  // namespace tilvanego::detail
