#pragma once

#include <cstddef>
#include <expected>
#include <string>

#include <tilvanego/network/TLSOptions.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {

/// What the TLS options of a session come to: read once, valid, in the forms that libcurl takes.
struct TLSMaterial {
  TLSMaterial() = default;
  TLSMaterial(TLSMaterial&&) = default;
  TLSMaterial& operator=(TLSMaterial&&) = delete;
  ~TLSMaterial() { support::wipe(privateKey); }

  TLSVersion lowestVersion = TLSVersion::v1_2;
  /// PEM; empty for the system's.
  std::string authorities{};
  /// "sha256//" and the base64 of a hash, several with ";" between them; empty for any key.
  std::string pinnedKeys{};
  /// PEM, the session's own first; empty for none.
  std::string certificates{};
  /// PEM, not encrypted; wiped at the end.
  std::string privateKey{};

  /// Returns `invalidTLSOptions` with a message that names the option at fault and shows no secret.
  [[nodiscard]] static std::expected<TLSMaterial, TransportError> read(const TLSOptions& options);
};

/// The length limit of a PEM text, in bytes.
inline constexpr std::size_t maximumPEM = std::size_t{1024} * 1024;

}  // namespace tilvanego::detail
