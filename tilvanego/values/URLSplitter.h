#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/URL.h>
#include <tilvanego/values/URLParts.h>

/// How text becomes a URL (RFC 3986). The split accepts what the grammar allows, and in user information,
/// path, query and fragment any other byte too: a component with such a byte is percent-encoded as a whole,
/// "%" included. A host beyond ASCII takes its IDNA form.
namespace tilvanego::detail {

/// The components of a text, and which of them can't stay as they are.
struct SplitText {
  URLParts parts;
  bool emptyScheme = false;  ///< the text starts with ":"
  bool userNeedsEncoding = false;
  bool passwordNeedsEncoding = false;
  bool hostNeedsEncoding = false;
  bool pathNeedsEncoding = false;
  bool queryNeedsEncoding = false;
  bool fragmentNeedsEncoding = false;

  [[nodiscard]] bool needsEncoding() const {
    return userNeedsEncoding || passwordNeedsEncoding || hostNeedsEncoding || pathNeedsEncoding ||
           queryNeedsEncoding || fragmentNeedsEncoding;
  }
};

/// One pass over `text`, which may hold any bytes.
[[nodiscard]] std::expected<SplitText, URLError> splitURL(std::string_view text);

/// The text of the URL that `split` of `text` makes. Fails for a host that has no IDNA form.
[[nodiscard]] std::expected<std::string, URLError> encodedURL(std::string_view text, const SplitText& split);

/// `host`, decoded, as it stands in a URL: ASCII kept, IDNA otherwise. No value if it can't be a host.
[[nodiscard]] std::optional<std::string> writtenHost(std::string_view host);

/// Appends `path`, decoded. A ":" in the first segment of a relative path is escaped, or the segment could be
/// read as a scheme.
void appendEncodedPath(std::string& target, std::string_view path);

/// Whether `text` is a scheme: a letter, then letters, digits, "+", "-" and ".".
[[nodiscard]] bool isScheme(std::string_view text);

}  // namespace tilvanego::detail
