#include <tilvanego/platform/OpenSSLRandomSource.h>

#include <limits>

#include <openssl/rand.h>

namespace [[gnu::visibility("default")]] tilvanego {

bool OpenSSLRandomSource::fill(std::span<std::uint8_t> bytes) {
  if (bytes.size() > std::numeric_limits<int>::max()) return false;
  return RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1;
}

}  // namespace tilvanego
