#include <tilvanego/transports/HandoffCipher.h>

#include <algorithm>
#include <memory>
#include <utility>

#include <openssl/evp.h>

#include <tilvanego/values/RawText.h>
#include <tilvanego/values/Release.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

constexpr std::string_view keyPrefix = "ostrel.tilvane.handoff.v1.";

using Cipher = std::unique_ptr<EVP_CIPHER, Release<EVP_CIPHER_free>>;
using Digest = std::unique_ptr<EVP_MD, Release<EVP_MD_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Release<EVP_MD_CTX_free>>;

// Fetching an algorithm takes as long as sealing a kilobyte, so each is fetched once.
const EVP_CIPHER* cipher() {
  static const Cipher one(EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr));
  return one.get();
}
const EVP_MD* digest() {
  static const Digest one(EVP_MD_fetch(nullptr, "SHA256", nullptr));
  return one.get();
}

/// One encryption or decryption. The context holds the key, so it isn't kept for the next use.
class CipherRun {
 public:
  [[nodiscard]] bool start(bool sealing, const HandoffKey& key, const std::uint8_t* nonce,
                           std::string_view extra) {
    int size = 0;
    return context_ && cipher() != nullptr && fits(extra.size()) &&
           EVP_CipherInit_ex2(context_.get(), cipher(), key.bytes().data(), nonce, sealing ? 1 : 0,
                              nullptr) == 1 &&
           EVP_CipherUpdate(context_.get(), nullptr, &size, unsignedBytes(extra),
                            static_cast<int>(extra.size())) == 1;
  }
  /// `to` may be `from`.
  [[nodiscard]] bool update(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
    int size = 0;
    return fits(count) && EVP_CipherUpdate(context_.get(), to, &size, from, static_cast<int>(count)) == 1;
  }
  /// Ends the run. A decryption fails here if the tag doesn't verify.
  [[nodiscard]] bool finish() {
    std::array<std::uint8_t, handoffTagSize> nothing;
    int size = 0;
    return EVP_CipherFinal_ex(context_.get(), nothing.data(), &size) == 1;
  }
  [[nodiscard]] bool control(int operation, std::uint8_t* tag) {
    return EVP_CIPHER_CTX_ctrl(context_.get(), operation, handoffTagSize, tag) == 1;
  }

  static const std::uint8_t* unsignedBytes(std::string_view text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
  }

 private:
  static bool fits(std::size_t count) { return std::in_range<int>(count); }

  std::unique_ptr<EVP_CIPHER_CTX, Release<EVP_CIPHER_CTX_free>> context_{EVP_CIPHER_CTX_new()};
};

}  // namespace

HandoffKey::~HandoffKey() { support::wipe(bytes_.data(), bytes_.size()); }

std::expected<HandoffKey, HandoffCipherError> handoffKey(PaymentHandoffDirection direction,
                                                         std::string_view handoffId,
                                                         std::string_view requestId) {
  const DigestContext context(EVP_MD_CTX_new());
  bool good = context && digest() != nullptr && EVP_DigestInit_ex2(context.get(), digest(), nullptr) == 1;
  for (const std::string_view part :
       {keyPrefix, rawText(direction), std::string_view("."), handoffId, std::string_view("."), requestId}) {
    good = good && EVP_DigestUpdate(context.get(), part.data(), part.size()) == 1;
  }
  HandoffKey key;
  if (!good || EVP_DigestFinal_ex(context.get(), key.bytes().data(), nullptr) != 1) {
    return std::unexpected(HandoffCipherError::failed);
  }
  return key;
}

std::string handoffAssociatedData(PaymentHandoffDirection direction, std::string_view handoffId,
                                  std::string_view requestId, const Date& expiresAt) {
  const std::string version = std::to_string(PaymentHandoffEnvelope::expectedSchemaVersion);
  const std::string expiry = std::to_string(static_cast<std::int64_t>(expiresAt.secondsSince1970()));
  std::string text(PaymentHandoffEnvelope::expectedNamespace);
  for (const std::string_view part : {std::string_view(version), rawText(direction), handoffId, requestId,
                                      sdkVersion, std::string_view(expiry)}) {
    text.append("|").append(part);
  }
  return text;
}

std::expected<std::string, HandoffCipherError> sealBox(const HandoffKey& key, std::string_view associatedData,
                                                       std::string_view plaintext,
                                                       RandomSource& randomSource) {
  std::array<std::uint8_t, handoffNonceSize> nonce;
  if (!randomSource.fill(nonce)) return std::unexpected(HandoffCipherError::noRandomBytes);

  bool good = false;
  std::string box;
  const std::size_t size = nonce.size() + plaintext.size() + handoffTagSize;
  box.resize_and_overwrite(size, [&](char* memory, std::size_t) {
    auto* const at = reinterpret_cast<std::uint8_t*>(memory);
    std::ranges::copy(nonce, at);
    CipherRun run;
    good = run.start(true, key, nonce.data(), associatedData) &&
           run.update(at + nonce.size(), CipherRun::unsignedBytes(plaintext), plaintext.size()) &&
           run.finish() && run.control(EVP_CTRL_AEAD_GET_TAG, at + nonce.size() + plaintext.size());
    return size;
  });
  if (!good) return std::unexpected(HandoffCipherError::failed);
  return box;
}

std::expected<std::string_view, HandoffCipherError> openBox(const HandoffKey& key,
                                                            std::string_view associatedData, Bytes& box) {
  if (box.size() < handoffNonceSize + handoffTagSize) return std::unexpected(HandoffCipherError::boxTooShort);
  const std::size_t size = box.size() - handoffNonceSize - handoffTagSize;
  std::uint8_t* const text = box.data() + handoffNonceSize;
  CipherRun run;
  if (!run.start(false, key, box.data(), associatedData) || !run.update(text, text, size) ||
      !run.control(EVP_CTRL_AEAD_SET_TAG, text + size)) {
    return std::unexpected(HandoffCipherError::failed);
  }
  if (!run.finish()) return std::unexpected(HandoffCipherError::notAuthentic);
  return std::string_view(reinterpret_cast<const char*>(text), size);
}

}  // namespace support
}  // namespace tilvanego
