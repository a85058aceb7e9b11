// Internationalised host names (UTS #46, non-transitional) and their ASCII form (RFC 5891).

#include <cstddef>
#include <cstdint>

#include <unicode/uidna.h>

#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/URLSplitter.h>

namespace tilvanego::detail {
namespace {

constexpr std::size_t longestHost = 1024;

// Hosts of custom schemes are no DNS names, so the length and hyphen rules of the DNS do not apply.
constexpr std::uint32_t toleratedErrors = UIDNA_ERROR_EMPTY_LABEL | UIDNA_ERROR_LABEL_TOO_LONG |
                                          UIDNA_ERROR_DOMAIN_NAME_TOO_LONG | UIDNA_ERROR_LEADING_HYPHEN |
                                          UIDNA_ERROR_TRAILING_HYPHEN | UIDNA_ERROR_HYPHEN_3_4;

// One instance for the process: it is immutable, and any thread may use it.
const UIDNA* rules() {
  static const UIDNA* const instance = [] {
    UErrorCode status = U_ZERO_ERROR;
    return uidna_openUTS46(UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ | UIDNA_NONTRANSITIONAL_TO_ASCII |
                               UIDNA_NONTRANSITIONAL_TO_UNICODE,
                           &status);
  }();
  return instance;
}

using Conversion = std::int32_t (*)(const UIDNA*, const char*, std::int32_t, char*, std::int32_t, UIDNAInfo*,
                                    UErrorCode*);

std::optional<std::string> converted(std::string_view host, Conversion conversion) {
  if (host.size() > longestHost || rules() == nullptr) return std::nullopt;
  // The result is at most a small multiple of the host's size. A result that does not fit is refused.
  std::string result(8 * longestHost, '\0');
  UIDNAInfo info = UIDNA_INFO_INITIALIZER;
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t length =
      conversion(rules(), host.data(), static_cast<std::int32_t>(host.size()), result.data(),
                 static_cast<std::int32_t>(result.size()), &info, &status);
  if (U_FAILURE(status) || (info.errors & ~toleratedErrors) != 0 || length <= 0 ||
      static_cast<std::size_t>(length) > result.size()) {
    return std::nullopt;
  }
  result.resize(static_cast<std::size_t>(length));
  return result;
}

bool hasEncodedLabel(std::string_view host) {
  constexpr std::string_view prefix = "xn--";
  for (std::size_t label = 0; label < host.size();) {
    const std::string_view rest = host.substr(label);
    if (equalIgnoringASCIICase(rest.substr(0, prefix.size()), prefix)) return true;
    const std::size_t dot = rest.find('.');
    if (dot == std::string_view::npos) return false;
    label += dot + 1;
  }
  return false;
}

}  // namespace

std::optional<std::string> hostToASCII(std::string_view host) {
  return converted(host, uidna_nameToASCII_UTF8);
}

std::optional<std::string> hostToUnicode(std::string_view host) {
  if (!hasEncodedLabel(host)) return std::nullopt;
  return converted(host, uidna_nameToUnicodeUTF8);
}

}  // namespace tilvanego::detail
