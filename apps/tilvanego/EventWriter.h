#pragma once

#include <cstdio>
#include <string_view>

#include "JSONText.h"

namespace tilvanego::program {

/// Writes events, one JSON object per line. Each line is flushed.
class EventWriter {
 public:
  /// `output` must outlive this object.
  explicit EventWriter(std::FILE* output) : output_(output) {}

  void write(const JSONObject& object);
  /// Writes why a line of the script is wrong or failed.
  void error(std::string_view message) { write(JSONObject().add("error", message)); }

 private:
  std::FILE* output_;
};

}  // namespace tilvanego::program
