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

/// The head as the server sent it, not yet parsed by `readHead`.
struct UnreadHead {
  std::string lines;
};

/// Returns the text of a field's bytes, which are read as ISO 8859-1 if they aren't UTF-8.
[[nodiscard]] std::string fieldText(std::string_view bytes);

enum class FieldValues {
  /// As `fieldText` returns them.
  texts,
  /// As received.
  bytes,
};

/// Parses the head of an HTTP/1.1 response (RFC 9112, section 2.1). Accepts any bytes: lines that aren't
/// fields are ignored, the values of repeated fields are joined.
[[nodiscard]] HTTPHead readHead(std::string_view lines, FieldValues values = FieldValues::texts);

}  // namespace tilvanego::detail
