#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/URL.h>
#include <tilvanego/values/URLParts.h>

/// Splits a text into the components of a URL (RFC 3986). User information, path, query and fragment may hold
/// any byte: if the grammar does not allow one, the whole component is percent-encoded, "%" included. A host
/// beyond ASCII becomes its IDNA form.
namespace tilvanego::detail {

/// The components of a text, and which of them need encoding.
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

/// Splits `text`, which may hold any bytes, in one pass.
[[nodiscard]] std::expected<SplitText, URLError> splitURL(std::string_view text);

/// Returns the text of the URL that `split`, the components of `text`, make. Returns an error for a host that
/// has no IDNA form.
[[nodiscard]] std::expected<std::string, URLError> encodedURL(std::string_view text, const SplitText& split);

/// Returns the written form of the decoded `host`: ASCII unchanged, otherwise IDNA. Returns no value if it
/// cannot be a host.
[[nodiscard]] std::optional<std::string> writtenHost(std::string_view host);

/// Appends the decoded `path`, encoded. A ":" in the first segment of a relative path is escaped, since the
/// segment could be read as a scheme.
void appendEncodedPath(std::string& target, std::string_view path);

/// Whether `text` is a scheme: a letter, then letters, digits, "+", "-" and ".".
[[nodiscard]] bool isScheme(std::string_view text);

/// Returns the ASCII form of `host`, UTF-8 with at least one character beyond ASCII: case folded, each such
/// label as "xn--…". Returns no value if there is no such form, and for more than 1,024 bytes, since the
/// conversion takes quadratic time.
[[nodiscard]] std::optional<std::string> hostToASCII(std::string_view host);

/// Returns the Unicode form of an ASCII `host` with an "xn--" label. Returns no value if there is no such
/// label, if a label is not valid, and for more than 1,024 bytes.
[[nodiscard]] std::optional<std::string> hostToUnicode(std::string_view host);

}  // namespace tilvanego::detail
