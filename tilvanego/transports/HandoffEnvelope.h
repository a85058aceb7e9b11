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

/// Sealing and opening the envelopes of the pasteboard. A host seals requests and opens results, the payment
/// application does the reverse; these functions do for both. Plaintexts are wiped as soon as they have been
/// read.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// The faults that the handoff itself knows.
enum class PaymentHandoffError { payloadMissing, payloadExpired, invalidPayload };

/// The pasteboard is missing or didn't keep an envelope.
struct PasteboardFailure {
  /// One sentence for the host's developer, with nothing of the envelope.
  std::string reason;
};

/// Why an envelope couldn't be sealed, left or opened: one of those, or the cipher's or the JSON coder's own
/// failure.
using HandoffFailure = std::variant<PaymentHandoffError, HandoffCipherError, JSONError, PasteboardFailure>;

/// How long an envelope can be opened, in seconds.
inline constexpr double handoffLifetime = 300;

/// A new id, 32 random bytes as 43 characters. Fails with `invalidPayload` if there are no random bytes.
[[nodiscard]] std::expected<std::string, PaymentHandoffError> makeHandoffId(RandomSource& randomSource);

[[nodiscard]] std::expected<PaymentHandoffEnvelope, HandoffFailure> sealPlaintext(
    std::string_view plaintext, PaymentHandoffDirection direction, std::string_view handoffId,
    std::string_view requestId, const Date& createdAt, RandomSource& randomSource);

/// The plaintext is a view into `box`, which the caller wipes.
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

/// Opens an envelope that goes in this direction and answers this request. At its very last instant it still
/// opens.
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
