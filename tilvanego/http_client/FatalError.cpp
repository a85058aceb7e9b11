#include <tilvanego/http_client/FatalError.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tilvanego::detail {

void fatalError(std::string_view message) {
  const std::string line = "URLSessionImplementations: Fatal error: " + std::string(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::abort();
}

}  // namespace tilvanego::detail
