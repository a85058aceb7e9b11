#include <tilvanego/platform/FatalError.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

[[noreturn]] void end(std::string_view title, std::string_view message) {
  const std::string line = std::string(title).append(message).append("\n");
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::abort();
}

}  // namespace

void fatalError(std::string_view message) { end("URLSessionImplementations: Fatal error: ", message); }

void wrongUse(std::string_view message) { end("TilvaneGo: ", message); }

}  // namespace support
}  // namespace tilvanego
