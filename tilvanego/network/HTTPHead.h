#pragma once

#include <string>
#include <string_view>

#include <tilvanego/network/HTTPHeaders.h>

namespace tilvanego::detail {

/// An answer's status line, without its line break, and its header fields.
struct HTTPHead {
  std::string statusLine;
  HTTPHeaders headers;
};

/// Reads a head of HTTP/1.1 lines (RFC 9112, section 2.1) from any bytes: what is no field is passed over,
/// what is no UTF-8 is read as ISO 8859-1, fields that come more than once are joined.
HTTPHead readHead(std::string_view lines);

}  // namespace tilvanego::detail
