#pragma once

#include <cstdio>
#include <string_view>

#include "JSONText.h"

namespace tilvanego::program {

/// Writes what happens, one JSON object a line, each line at once.
class EventWriter {
 public:
  /// `output` outlives this.
  explicit EventWriter(std::FILE* output) : output_(output) {}

  void write(const JSONObject& object);
  /// One line that says what was wrong with a line of the script, or why it couldn't be done.
  void error(std::string_view message) { write(JSONObject().add("error", message)); }

 private:
  std::FILE* output_;
};

}  // namespace tilvanego::program
