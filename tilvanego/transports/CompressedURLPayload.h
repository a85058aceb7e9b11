#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <tilvanego/json/JSON.h>
#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/transports/HandoffPayloads.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Support.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/Wiping.h>

/// Envelopes that travel compressed in a URL. Compressed isn't encrypted: who sees the URL can read what is
/// in it.
///
/// A host writes requests and reads results, the payment application does the reverse; writing an envelope
/// and reading it from a URL is the same for both.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// Bytes of the longest JSON of an envelope, of the longest gzip stream, and of the longest launch link.
inline constexpr std::size_t maxPayloadJSON = 262'144;
inline constexpr std::size_t maxPayloadGzip = 65'536;
inline constexpr std::size_t maxCompressedURL = 102'400;

/// What the item "encoding" says, byte for byte.
inline constexpr std::string_view payloadEncoding = "gzip-json";

/// Why a payload couldn't be written or read: an error that a host may hear of, or the JSON coder's own.
using URLPayloadFailure = std::variant<PaymentError, JSONError>;

/// An envelope as the items "payload", "payload_size" and "compressed_size" carry it.
struct CompressedPayload {
  /// URL-safe base64.
  std::string text;
  std::size_t jsonSize = 0;
  std::size_t compressedSize = 0;
};

/// Fails with `urlPayloadTooLarge`, before anything is compressed if the JSON is too long already.
[[nodiscard]] std::expected<CompressedPayload, PaymentError> compressPayloadJSON(std::string_view json);

/// The JSON that a URL's items carry, its sizes checked against what they say.
[[nodiscard]] std::expected<std::string, PaymentError> payloadJSON(const URL& url);

template <typename Payload>
[[nodiscard]] PaymentURLPayloadEnvelope<Payload> makeURLPayloadEnvelope(PaymentHandoffDirection direction,
                                                                        std::string requestId,
                                                                        const Date& createdAt,
                                                                        Payload payload) {
  using Envelope = PaymentURLPayloadEnvelope<Payload>;
  return {.namespace_ = std::string(Envelope::expectedNamespace),
          .schemaVersion = Envelope::expectedSchemaVersion,
          .direction = direction,
          .requestId = std::move(requestId),
          .createdAt = createdAt,
          .payload = std::move(payload)};
}

template <typename Payload>
[[nodiscard]] std::expected<CompressedPayload, URLPayloadFailure> encodeCompressedPayload(
    const PaymentURLPayloadEnvelope<Payload>& envelope) {
  auto text = json::encode(envelope, envelopeFormat);
  if (!text) return std::unexpected(std::move(text).error());
  const WipedAtEnd wiped(*text);
  auto payload = compressPayloadJSON(*text);
  if (!payload) return std::unexpected(std::move(payload).error());
  return *std::move(payload);
}

/// Reads what a URL carries, whatever its namespace, version, direction and request id.
template <typename Payload>
[[nodiscard]] std::expected<PaymentURLPayloadEnvelope<Payload>, URLPayloadFailure> decodeURLPayload(
    const URL& url) {
  auto text = payloadJSON(url);
  if (!text) return std::unexpected(std::move(text).error());
  const WipedAtEnd wiped(*text);
  auto envelope = json::decode<PaymentURLPayloadEnvelope<Payload>>(*text);
  if (!envelope) return std::unexpected(std::move(envelope).error());
  return *std::move(envelope);
}

/// Fails with `urlPayloadTooLarge` for a link of more than `maxCompressedURL` bytes.
[[nodiscard]] std::expected<void, PaymentError> validatedCompressedURL(const URL& url);

/// The launch link that carries a request compressed. Shows it in a debug line.
[[nodiscard]] std::expected<URL, URLPayloadFailure> compressedPaymentAppURL(const PaymentRequest& request,
                                                                            const Platform& platform);

/// Whether an item of the URL says that it carries a compressed payload.
[[nodiscard]] bool isCompressed(const URL& url);

/// Returns the result of a callback with a compressed payload; nothing if the URL has none or isn't the
/// expected callback URL.
[[nodiscard]] std::optional<PaymentResult> compressedPaymentResult(const URL& url,
                                                                   const URL& expectedCallbackURL,
                                                                   const std::string& expectedRequestId);

}  // namespace support
}  // namespace tilvanego
