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

/// The cipher of sealed envelopes: AES-256 in Galois/counter mode (NIST SP 800-38D). The key is the SHA-256
/// digest (FIPS 180-4) of a text that both sides read from the link. There is no stored secret: everyone who
/// has the link and the envelope can open it. The cipher protects an envelope from readers who don't have the
/// link, and detects an envelope that was changed or replaced by another one.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

enum class HandoffCipherError {
  noRandomBytes,  ///< the random source failed
  boxTooShort,    ///< fewer bytes than a nonce and a tag
  notAuthentic,   ///< the tag doesn't verify: another key, other associated data, or changed bytes
  failed,         ///< OpenSSL failed, for example for lack of memory
};

/// An AES-256 key. Its destructor wipes it.
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

/// Derives the key of one handoff. The ids may have any characters; they are used unchanged.
[[nodiscard]] std::expected<HandoffKey, HandoffCipherError> handoffKey(PaymentHandoffDirection direction,
                                                                       std::string_view handoffId,
                                                                       std::string_view requestId);

/// The associated data, which is authenticated together with the ciphertext. It contains `expiresAt` as whole
/// seconds since 1970, rounded toward zero; they must fit into 64 bits. The versions of format and library
/// are always this library's, never those in an envelope.
[[nodiscard]] std::string handoffAssociatedData(PaymentHandoffDirection direction, std::string_view handoffId,
                                                std::string_view requestId, const Date& expiresAt);

/// Encrypts `plaintext`. Returns a new random nonce, the ciphertext and the tag.
[[nodiscard]] std::expected<std::string, HandoffCipherError> sealBox(const HandoffKey& key,
                                                                     std::string_view associatedData,
                                                                     std::string_view plaintext,
                                                                     RandomSource& randomSource);

/// Decrypts `box` in place. The returned plaintext is a view of `box`, which the caller must wipe. After a
/// failure the content of `box` is unspecified.
[[nodiscard]] std::expected<std::string_view, HandoffCipherError> openBox(const HandoffKey& key,
                                                                          std::string_view associatedData,
                                                                          Bytes& box);

}  // namespace support
}  // namespace tilvanego
