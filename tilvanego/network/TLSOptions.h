#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/network/TransportError.h>
#include <tilvanego/values/CaseNames.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A version of TLS (RFC 5246, RFC 8446).
enum class TLSVersion : std::uint8_t { v1_2, v1_3 };

template <>
inline constexpr bool showsCaseNames<TLSVersion> = true;

/// Certificates or a private key in PEM form (RFC 7468), at most 1 MiB: the text itself or the path of a
/// regular file with it, not both. Without either it isn't set.
struct PEM {
  std::string text{};
  std::string file{};

  [[nodiscard]] bool isSet() const { return !text.empty() || !file.empty(); }

  bool operator==(const PEM&) const = default;
};

/// How a session checks servers over TLS, and identifies itself to them. A server is always checked; these
/// options only make the check stricter or name other authorities.
struct TLSOptions {
  /// A server or an https proxy that speaks only older versions fails with `secureConnectionFailed`.
  TLSVersion lowestVersion = TLSVersion::v1_2;
  /// The certificates of the authorities that are trusted for servers, instead of the system's. Can't be
  /// combined with `additionalCertificates`. An https proxy is still checked against the system's.
  PEM authorities{};
  /// The SHA-256 hashes of the public keys (SubjectPublicKeyInfo) that a server may have, each in base64 as
  /// the value of "pin-sha256" (RFC 7469, section 2.4). A server with another key fails with
  /// `serverKeyNotPinned`, also after a redirect. The certificate is checked, too. Empty: any key.
  std::vector<std::string> pinnedKeys{};

  /// The certificate that identifies the session to a server that asks for one, then those of the authorities
  /// between it and the one that the server knows. Needs `privateKey`. It is shown only to the server of the
  /// request (scheme, host, port), not to another one after a redirect, and not to a proxy.
  PEM certificate{};
  /// The private key of `certificate`; it may be encrypted. May be in the same file.
  PEM privateKey{};
  /// Returns the passphrase of an encrypted `privateKey`, at most 1023 bytes, which the library wipes. Called
  /// once where the options are read, if the key is encrypted: on the thread that creates the session or
  /// calls `check`. No value, or an exception, means that there is none.
  std::function<std::optional<std::string>()> passphrase{};

  /// Reads everything as a session would. Returns `invalidTLSOptions` with a message that says which option
  /// is wrong and how.
  [[nodiscard]] std::expected<void, TransportError> check() const;
};

}  // namespace tilvanego
