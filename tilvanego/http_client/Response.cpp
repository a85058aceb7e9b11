#include <tilvanego/http_client/Response.h>

#include <tilvanego/values/UTF8.h>

namespace tilvanego::detail {

ResponseHeader headerTexts(const HTTPURLResponse& response) {
  ResponseHeader texts;
  for (const auto& [name, value] : response.headers().fields()) {
    if (isUTF8(name) && isUTF8(value)) texts.emplace(name, value);
  }
  return texts;
}

}  // namespace tilvanego::detail
