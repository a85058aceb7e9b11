#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/platform/DebugOutput.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Keeps the debug lines, not quoted, in the order in which they are written. For tests.
class RecordingDebugOutput final : public DebugOutput {
 public:
  void writeLine(std::string_view text) override { lines_.emplace_back(text); }

  [[nodiscard]] const std::vector<std::string>& lines() const TILVANEGO_LIFETIMEBOUND { return lines_; }

  /// Returns the lines and removes them.
  [[nodiscard]] std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};

}  // namespace tilvanego
