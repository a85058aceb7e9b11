#include <chrono>
#include <cstdio>
#include <limits>
#include <string>

#include <openssl/rand.h>

#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/StandardOutput.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/values/DebugLiteral.h>

namespace [[gnu::visibility("default")]] tilvanego {

Date SystemClock::now() const {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return Date::fromSecondsSince1970(std::chrono::duration<double>(sinceEpoch).count());
}

bool OpenSSLRandomSource::fill(std::span<std::uint8_t> bytes) {
  if (bytes.size() > std::numeric_limits<int>::max()) return false;
  return RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1;
}

void StandardOutput::writeLine(std::string_view text) {
  const std::string line = debugLiteral(text) + '\n';
  std::fwrite(line.data(), 1, line.size(), stdout);
}

}  // namespace tilvanego
