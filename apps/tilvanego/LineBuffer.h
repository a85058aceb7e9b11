#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tilvanego::program {

/// Splits a stream of bytes into lines.
class LineBuffer {
 public:
  /// A longer line is returned as too long, without its text.
  static constexpr std::size_t longestLine = std::size_t{64} << 20U;

  struct Line {
    /// Without the line end.
    std::string text;
    bool tooLong = false;
  };

  void append(std::string_view bytes);
  /// Ends the input: the remaining bytes are the last line.
  void close() { closed_ = true; }

  /// Returns the next complete line, if there is one.
  [[nodiscard]] std::optional<Line> next();

 private:
  /// The received bytes; the first `start_` of them were returned already.
  std::string bytes_;
  std::size_t start_ = 0;
  /// There is no line end before this position.
  std::size_t searched_ = 0;
  bool dropping_ = false;
  bool closed_ = false;
};

}  // namespace tilvanego::program
