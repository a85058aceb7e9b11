#pragma once

#include <string>
#include <string_view>

namespace tilvanego::program {

/// Writes text for a reader to standard output. Uses colours only if that is a terminal and NO_COLOR isn't
/// set.
class Terminal {
 public:
  Terminal();

  void heading(std::string_view text);
  /// Writes one line with a label and a text.
  void line(std::string_view label, std::string_view text);
  /// Writes a line that continues the one before.
  void detail(std::string_view text) { line({}, text); }
  void gap();
  void good(std::string_view label, std::string_view text);
  void bad(std::string_view label, std::string_view text);

 private:
  void coloured(std::string_view label, std::string_view text, std::string_view colour);
  [[nodiscard]] std::string dressed(std::string_view text, std::string_view style) const;

  bool colours_;
};

}  // namespace tilvanego::program
