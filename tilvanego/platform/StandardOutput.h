#pragma once

#include <tilvanego/platform/DebugOutput.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Writes each line to standard output as a double-quoted literal with backslash escapes, the whole line at
/// once.
class StandardOutput final : public DebugOutput {
 public:
  void writeLine(std::string_view text) override;
};

}  // namespace tilvanego
