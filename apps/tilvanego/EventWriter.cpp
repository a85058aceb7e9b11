#include "EventWriter.h"

#include <string>

namespace tilvanego::program {

void EventWriter::write(const JSONObject& object) {
  const std::string line = object.finish().text + '\n';
  std::fwrite(line.data(), 1, line.size(), output_);
  std::fflush(output_);
}

}  // namespace tilvanego::program
