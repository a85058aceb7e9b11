#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <tilvanego/json/JSON.h>
#include <tilvanego/platform/RandomSource.h>
#include <tilvanego/transports/HandoffCipher.h>
#include <tilvanego/transports/HandoffPayloads.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Support.h>
#include <tilvanego/values/Wiping.h>

/// Seals and opens the envelopes of the pasteboard. A host seals requests and opens results; the payment
/// application seals results and opens requests. Both use these functions. The templates wipe each plaintext
/// after use.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// The failures of a handoff itself.
enum class PaymentHandoffError { payloadMissing, payloadExpired, invalidPayload };

/// The pasteboard is missing or didn't keep an envelope.
struct PasteboardFailure {
  /// One sentence for the host's developer, with nothing of the envelope.
  std::string reason;
};

/// Why an envelope couldn't be sealed, put on the pasteboard or opened: one of these, or the failure of the
/// cipher or of the JSON reader or writer.
using HandoffFailure = std::variant<PaymentHandoffError, HandoffCipherError, JSONError, PasteboardFailure>;

/// How long an envelope can be opened, in seconds.
inline constexpr double handoffLifetime = 300;

/// A new id, 32 random bytes as 43 characters. Fails with `invalidPayload` if there are no random bytes.
[[nodiscard]] std::expected<std::string, PaymentHandoffError> makeHandoffId(RandomSource& randomSource);

[[nodiscard]] std::expected<PaymentHandoffEnvelope, HandoffFailure> sealPlaintext(
    std::string_view plaintext, PaymentHandoffDirection direction, std::string_view handoffId,
    std::string_view requestId, const Date& createdAt, RandomSource& randomSource);

/// The returned plaintext is a view of `box`, which the caller must wipe.
[[nodiscard]] std::expected<std::string_view, HandoffFailure> openPlaintext(
    const PaymentHandoffEnvelope& envelope, PaymentHandoffDirection direction,
    std::string_view expectedRequestId, const Date& now, Bytes& box);

/// Seals a payload in an envelope that expires `handoffLifetime` after `createdAt`, rounded down to a whole
/// second.
template <typename Payload>
[[nodiscard]] std::expected<PaymentHandoffEnvelope, HandoffFailure> sealHandoffEnvelope(
    const Payload& payload, PaymentHandoffDirection direction, std::string_view handoffId,
    std::string_view requestId, const Date& createdAt, RandomSource& randomSource) {
  auto plaintext = json::encode(payload, envelopeFormat);
  if (!plaintext) return std::unexpected(std::move(plaintext).error());
  const WipedAtEnd wiped(*plaintext);
  return sealPlaintext(*plaintext, direction, handoffId, requestId, createdAt, randomSource);
}

/// Opens an envelope of this direction and request id. It can be opened up to and including `expiresAt`.
template <typename Payload>
[[nodiscard]] std::expected<Payload, HandoffFailure> openHandoffEnvelope(
    const PaymentHandoffEnvelope& envelope, PaymentHandoffDirection direction,
    std::string_view expectedRequestId, const Date& now) {
  Bytes box;
  const WipedAtEnd wiped(box);
  const auto plaintext = openPlaintext(envelope, direction, expectedRequestId, now, box);
  if (!plaintext) return std::unexpected(plaintext.error());
  auto payload = json::decode<Payload>(*plaintext);
  if (!payload) return std::unexpected(std::move(payload).error());
  return *std::move(payload);
}

}  // namespace support
}  // namespace tilvanego
