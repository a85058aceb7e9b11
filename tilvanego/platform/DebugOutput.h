#pragma once

#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {

/// The port for the library's debug lines. They are for people only. Used on the main thread only.
class DebugOutput {
 public:
  virtual ~DebugOutput() = default;

  /// Writes one line. `text` is UTF-8 without a line end; it is not quoted. May throw: the exception is
  /// dropped after one line on standard error.
  virtual void writeLine(std::string_view text) = 0;
};

}  // namespace tilvanego
