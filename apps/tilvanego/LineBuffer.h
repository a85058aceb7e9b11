#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tilvanego::program {

/// Cuts a stream of bytes into its lines.
class LineBuffer {
 public:
  /// A line that is longer is given as too long, without being kept.
  static constexpr std::size_t longestLine = std::size_t{64} << 20U;

  struct Line {
    /// Without its end.
    std::string text;
    bool tooLong = false;
  };

  void append(std::string_view bytes);
  /// No more bytes come: what is left is a line as well.
  void close() { closed_ = true; }

  /// The next whole line, if there is one.
  [[nodiscard]] std::optional<Line> next();

 private:
  /// Bytes that have come and aren't given yet; `start_` of them are given.
  std::string bytes_;
  std::size_t start_ = 0;
  /// How far the search for a line end has come.
  std::size_t searched_ = 0;
  bool dropping_ = false;
  bool closed_ = false;
};

}  // namespace tilvanego::program
