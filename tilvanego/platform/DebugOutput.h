#pragma once

#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {

/// Where the library's diagnostic lines go. They are for people, and nothing reads them back. The main
/// thread's.
class DebugOutput {
 public:
  virtual ~DebugOutput() = default;

  /// Takes one line: text in UTF-8, without a line end of its own, not quoted yet.
  /// May throw: the exception is dropped after one line on standard error.
  virtual void writeLine(std::string_view text) = 0;
};

}  // namespace tilvanego
