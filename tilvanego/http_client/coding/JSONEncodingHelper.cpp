#include <tilvanego/http_client/coding/JSONEncodingHelper.h>

#include <cstdio>
#include <string>

namespace tilvanego::detail {

void printEncodingFailure(const JSONError& failure) {
  const std::string line = failure.description() + '\n';
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

}  // namespace tilvanego::detail
