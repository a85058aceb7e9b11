#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A universally unique identifier (RFC 9562): 16 bytes in the order of its text.
class UUID {
 public:
  using Octets = std::array<std::uint8_t, 16>;

  /// The nil UUID, all zeros.
  constexpr UUID() = default;
  constexpr explicit UUID(const Octets& octets) : octets_(octets) {}

  /// Makes a random UUID (version 4) from 16 random bytes: sets six of their bits to the version and variant.
  /// It is unique only if the bytes come from a good random source.
  [[nodiscard]] static UUID fromRandomBytes(const Octets& randomBytes);

  /// Reads the canonical form of 36 characters: hexadecimal digits of either case in groups of 8-4-4-4-12.
  /// Returns no value for any other text, also with braces or blanks.
  [[nodiscard]] static std::optional<UUID> parse(std::string_view text);

  /// Returns the canonical form, in upper case.
  [[nodiscard]] std::string text() const;

  [[nodiscard]] constexpr const Octets& octets() const TILVANEGO_LIFETIMEBOUND { return octets_; }

  friend constexpr auto operator<=>(const UUID&, const UUID&) = default;
  /// Writes `text()`.
  friend std::ostream& operator<<(std::ostream& out, const UUID& uuid) { return uuid.show(out); }

 private:
  std::ostream& show(std::ostream& out) const;

  Octets octets_{};
};

}  // namespace tilvanego

template <>
struct std::hash<tilvanego::UUID> {
  [[nodiscard]] std::size_t operator()(const tilvanego::UUID& uuid) const {
    // The bytes of any object may be read as characters.
    const auto* const characters = reinterpret_cast<const char*>(uuid.octets().data());
    return std::hash<std::string_view>()({characters, uuid.octets().size()});
  }
};
