#pragma once

#include <string>
#include <string_view>

namespace tilvanego::program {

/// Text for people on standard output, in colour only where that is a terminal and NO_COLOR isn't set.
class Terminal {
 public:
  Terminal();

  void heading(std::string_view text);
  /// One line: a label, and beside it what it is about.
  void line(std::string_view label, std::string_view text);
  /// A line that goes on the one before.
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
