#pragma once

#include <cstddef>
#include <expected>
#include <optional>
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

/// Envelopes that a URL carries compressed. Compression isn't encryption: everyone who sees the URL can read
/// its content.
///
/// A host writes requests and reads results; the payment application writes results and reads requests. Both
/// use these functions.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// Maximum sizes in bytes: of the JSON of an envelope, of its gzip stream, and of a launch link.
inline constexpr std::size_t maxPayloadJSON = 262'144;
inline constexpr std::size_t maxPayloadGzip = 65'536;
inline constexpr std::size_t maxCompressedURL = 102'400;

/// The exact value of the item "encoding".
inline constexpr std::string_view payloadEncoding = "gzip-json";

/// Why a payload couldn't be written or read: an error for the host, or that of the JSON reader or writer.
using URLPayloadFailure = std::variant<PaymentError, JSONError>;

/// The values of the items "payload", "payload_size" and "compressed_size".
struct CompressedPayload {
  /// URL-safe base64.
  std::string text;
  std::size_t jsonSize = 0;
  std::size_t compressedSize = 0;
};

/// Fails with `urlPayloadTooLarge`. JSON that is too long isn't compressed.
[[nodiscard]] std::expected<CompressedPayload, PaymentError> compressPayloadJSON(std::string_view json);

/// Decompresses the JSON in a URL's items and checks that its sizes are those of the items.
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

/// Reads the envelope in a URL. Doesn't check its namespace, version, direction and request id.
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

/// Builds the launch link with the compressed request, and shows it in a debug line.
[[nodiscard]] std::expected<URL, URLPayloadFailure> compressedPaymentAppURL(const PaymentRequest& request,
                                                                            const Platform& platform);

/// Whether the URL has an item that announces a compressed payload.
[[nodiscard]] bool isCompressed(const URL& url);

/// Returns the result of a callback with a compressed payload; nothing if the URL has none or isn't the
/// expected callback URL.
[[nodiscard]] std::optional<PaymentResult> compressedPaymentResult(const URL& url,
                                                                   const URL& expectedCallbackURL,
                                                                   const std::string& expectedRequestId);

}  // namespace support
}  // namespace tilvanego
