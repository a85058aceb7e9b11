#include <tilvanego/values/Wiping.h>

#include <openssl/crypto.h>

namespace tilvanego::detail {
namespace {

// Growing up to the capacity moves nothing, and makes what lies behind the end the buffer's own.
template <class Buffer>
void wipeAll(Buffer& buffer) {
  buffer.resize(buffer.capacity());
  OPENSSL_cleanse(buffer.data(), buffer.size());
  buffer.clear();
}

}  // namespace

void wipe(std::string& text) noexcept { wipeAll(text); }
void wipe(Bytes& bytes) noexcept { wipeAll(bytes); }

}  // namespace tilvanego::detail
