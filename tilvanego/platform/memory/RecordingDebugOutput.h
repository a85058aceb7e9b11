#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/platform/DebugOutput.h>
#include <tilvanego/values/Lifetime.h>

namespace tilvanego {

/// Keeps the lines, as they are before quoting, in the order of writing.
class RecordingDebugOutput final : public DebugOutput {
 public:
  void writeLine(std::string_view text) override { lines_.emplace_back(text); }

  [[nodiscard]] const std::vector<std::string>& lines() const TILVANEGO_LIFETIMEBOUND { return lines_; }

  /// Gives the lines and forgets them.
  [[nodiscard]] std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};

}  // namespace tilvanego
