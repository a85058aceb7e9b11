#pragma once

#include <expected>

#include <curl/curl.h>

#include <tilvanego/network/TLSMaterial.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/network/URLSession.h>

namespace tilvanego::detail {

/// Reads the TLS options of a new session, and tries whether libcurl and its TLS library support them.
/// Removes the key and the passphrase from `configuration`, which the session keeps.
[[nodiscard]] std::expected<TLSMaterial, TransportError> readTLS(URLSessionConfiguration& configuration);

/// Whether the client's certificate may be shown to the server of a request.
enum class Identity { shown, hidden };

/// Sets the options of a handle. It refers to `material`, which must outlive it. Returns an error if one
/// can't be set: without it the handle must not be used.
[[nodiscard]] CURLcode setTLS(CURL* handle, const TLSMaterial& material, Identity identity);

}  // namespace tilvanego::detail
