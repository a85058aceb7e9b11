#pragma once

#include <string>
#include <string_view>

#include <tilvanego/network/HTTPHeaders.h>

namespace tilvanego::detail {

/// The status line of a response, without its line break, and its header fields.
struct HTTPHead {
  std::string statusLine;
  HTTPHeaders headers;
};

/// Parses the head of an HTTP/1.1 response (RFC 9112, section 2.1). Accepts any bytes: lines that aren't
/// fields are ignored, text that isn't UTF-8 is read as ISO 8859-1, the values of repeated fields are joined.
[[nodiscard]] HTTPHead readHead(std::string_view lines);

}  // namespace tilvanego::detail
