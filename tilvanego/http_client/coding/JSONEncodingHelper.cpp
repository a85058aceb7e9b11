#include <tilvanego/http_client/coding/JSONEncodingHelper.h>

#include <cstdio>
#include <string>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

void printEncodingFailure(const JSONError& failure) {
  const std::string line = failure.description() + '\n';
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

}  // namespace support
}  // namespace tilvanego
