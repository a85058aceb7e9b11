#include <tilvanego/values/Base64.h>

#include "fuzz/Fuzzer.h"

// Any bytes survive both alphabets; a text that decodes encodes to itself, but for padding and its spare
// bits.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, size);
  const tilvanego::Bytes original(bytes.begin(), bytes.end());
  const std::string encoded = tilvanego::base64Encode(bytes);
  const std::string urlEncoded = tilvanego::base64URLEncode(bytes);
  require(encoded.size() == (size + 2) / 3 * 4);
  require(urlEncoded.find_first_of("+/=") == urlEncoded.npos);
  require(tilvanego::base64Decode(encoded) == original);
  require(tilvanego::base64URLDecode(encoded) == original);
  require(tilvanego::base64URLDecode(urlEncoded) == original);

  const std::string text(bytes.begin(), bytes.end());
  if (const auto decoded = tilvanego::base64Decode(text)) {
    require(tilvanego::base64URLDecode(text) == decoded);
    const std::string again = tilvanego::base64Encode(*decoded);
    require(again.size() == text.size());
    require(decoded->size() % 3 != 0 || again == text);
  }
  if (const auto decoded = tilvanego::base64URLDecode(text)) {
    require(tilvanego::base64URLDecode(tilvanego::base64URLEncode(*decoded)) == decoded);
  }
  return 0;
}
