#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <string_view>

#include <tilvanego/platform/RandomSource.h>
#include <tilvanego/transports/HandoffPayloads.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Support.h>

/// The cipher of sealed envelopes: AES-256 in Galois/counter mode (NIST SP 800-38D) under a key that is the
/// SHA-256 digest (FIPS 180-4) of a text which the two sides know from the link. There is no stored secret:
/// who has the link and the envelope can open it. What the cipher gives is that neither alone says anything,
/// and that an envelope can't be changed or exchanged for another one unnoticed.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

enum class HandoffCipherError {
  noRandomBytes,  ///< the random source gave no nonce
  boxTooShort,    ///< fewer bytes than a nonce and a tag
  notAuthentic,   ///< the tag doesn't verify: another key, other associated data, or changed bytes
  failed,         ///< OpenSSL can't do it, for want of memory say
};

/// An AES-256 key. Wiped at its end.
class HandoffKey {
 public:
  static constexpr std::size_t size = 32;

  HandoffKey() = default;
  HandoffKey(const HandoffKey&) = default;
  HandoffKey& operator=(const HandoffKey&) = default;
  ~HandoffKey();

  [[nodiscard]] std::span<std::uint8_t, size> bytes() { return bytes_; }
  [[nodiscard]] std::span<const std::uint8_t, size> bytes() const { return bytes_; }

 private:
  std::array<std::uint8_t, size> bytes_{};
};

inline constexpr std::size_t handoffNonceSize = 12;
inline constexpr std::size_t handoffTagSize = 16;

/// The key of one handoff. The ids go into it as they are, whatever characters they hold.
[[nodiscard]] std::expected<HandoffKey, HandoffCipherError> handoffKey(PaymentHandoffDirection direction,
                                                                       std::string_view handoffId,
                                                                       std::string_view requestId);

/// What is authenticated beside the ciphertext. `expiresAt` goes in as whole seconds since 1970, cut toward
/// zero, and is within the range of 64-bit integers. Format and library version are this library's own on
/// both sides, whatever an envelope says of itself.
[[nodiscard]] std::string handoffAssociatedData(PaymentHandoffDirection direction, std::string_view handoffId,
                                                std::string_view requestId, const Date& expiresAt);

/// A sealed box: a fresh random nonce, the ciphertext, the tag.
[[nodiscard]] std::expected<std::string, HandoffCipherError> sealBox(const HandoffKey& key,
                                                                     std::string_view associatedData,
                                                                     std::string_view plaintext,
                                                                     RandomSource& randomSource);

/// Opens a box in its place. The plaintext is a view into `box`, which the caller wipes. On a failure what is
/// left in `box` is of no use.
[[nodiscard]] std::expected<std::string_view, HandoffCipherError> openBox(const HandoffKey& key,
                                                                          std::string_view associatedData,
                                                                          Bytes& box);

}  // namespace support
}  // namespace tilvanego
