#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/Lifetime.h>

namespace tilvanego {

/// A universally unique identifier (RFC 9562): 16 bytes in the order of its text.
class UUID {
 public:
  using Octets = std::array<std::uint8_t, 16>;

  /// The nil UUID, all zeros.
  constexpr UUID() = default;
  constexpr explicit UUID(const Octets& octets) : octets_(octets) {}

  /// A random UUID (version 4) of 16 random bytes; six of their bits are set to the version and variant. The
  /// bytes must come from a good source for the UUID to be unique.
  [[nodiscard]] static UUID fromRandomBytes(const Octets& randomBytes);

  /// Reads the canonical form of 36 characters, hexadecimal digits of either case in groups of 8-4-4-4-12.
  /// Nothing for any other text; braces and blanks are refused.
  [[nodiscard]] static std::optional<UUID> parse(std::string_view text);

  /// The canonical form, in capitals.
  [[nodiscard]] std::string text() const;

  [[nodiscard]] constexpr const Octets& octets() const TILVANEGO_LIFETIMEBOUND { return octets_; }

  friend constexpr auto operator<=>(const UUID&, const UUID&) = default;

 private:
  Octets octets_{};
};

}  // namespace tilvanego
