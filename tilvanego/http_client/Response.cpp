#include <tilvanego/http_client/Response.h>

#include <tilvanego/values/Text.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

ResponseHeader headerTexts(const HTTPURLResponse& response) {
  ResponseHeader texts;
  for (const auto& [name, value] : response.headers().fields()) {
    if (isValidUTF8(name) && isValidUTF8(value)) texts.emplace(name, value);
  }
  return texts;
}

}  // namespace support
}  // namespace tilvanego
