#pragma once

#include <string_view>

#include <tilvanego/platform/DebugOutput.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Writes nothing: for a host whose standard output belongs to something else.
class SilentDebugOutput final : public DebugOutput {
 public:
  void writeLine(std::string_view) override {}
};

}  // namespace tilvanego
