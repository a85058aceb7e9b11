#pragma once

#include <expected>
#include <string>

#include <tilvanego/network/TLSOptions.h>
#include <tilvanego/network/TransportError.h>

namespace tilvanego::detail {

/// What the TLS options of a session come to: read once, valid, in the forms that libcurl takes.
struct TLSMaterial {
  TLSVersion lowestVersion = TLSVersion::v1_2;
  /// PEM; empty for the system's.
  std::string authorities{};
  /// "sha256//" and the base64 of a hash, several with ";" between them; empty for any key.
  std::string pinnedKeys{};

  /// Returns `invalidTLSOptions` with a message that names the option at fault and shows no secret.
  [[nodiscard]] static std::expected<TLSMaterial, TransportError> read(const TLSOptions& options);
};

/// The length limit of a PEM text, in bytes.
inline constexpr std::size_t maximumPEM = std::size_t{1024} * 1024;

}  // namespace tilvanego::detail
