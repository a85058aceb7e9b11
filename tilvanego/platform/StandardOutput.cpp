#include <tilvanego/platform/StandardOutput.h>

#include <cstdio>
#include <string>

#include <tilvanego/values/DebugLiteral.h>

namespace [[gnu::visibility("default")]] tilvanego {

void StandardOutput::writeLine(std::string_view text) {
  const std::string line = debugLiteral(text) + '\n';
  std::fwrite(line.data(), 1, line.size(), stdout);
}

}  // namespace tilvanego
